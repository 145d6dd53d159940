// zu-hashdir run as a separate process on a generated tree; its report is
// checked against checksums, sizes and listings computed here on our own.
#include <ZuPlatform/data.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#ifdef ZU_TEST_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

namespace fs = std::filesystem;
using Contents = std::map<std::string, std::string>;  // relative path: bytes

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

// Every regular file under dir (which ends in "/"), in byte order of path.
Contents contentsOf(const std::string& dir) {
  Contents contents;
  for (const auto& item : fs::recursive_directory_iterator(dir)) {
    if (!item.is_regular_file()) continue;
    contents[item.path().string().substr(dir.size())] =
        readFile(item.path().string());
  }
  return contents;
}

unsigned int crc32Of(const std::string& bytes) {
#ifdef ZU_TEST_HAVE_ZLIB
  return static_cast<unsigned int>(
      crc32(0, reinterpret_cast<const Bytef*>(bytes.data()),
            static_cast<uInt>(bytes.size())));
#else
  unsigned int crc = 0xFFFFFFFFu;  // the bit-at-a-time definition
  for (const unsigned char byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc >> 1) ^ (0xEDB88320u & -(crc & 1));
  }
  return ~crc;
#endif
}

// What a report should say: its file lines, then the summary's counts.
struct Expected {
  std::string lines;
  size_t files = 0;
  unsigned long long bytes = 0;
};

// The report on the files under dir, or only those with the given suffix.
Expected expectedReport(const std::string& dir, const std::string& suffix) {
  Expected want;
  for (const auto& [relative, content] : contentsOf(dir)) {
    if (!suffix.empty() && fs::path(relative).extension() != suffix) continue;
    struct stat status;
    EXPECT_EQ(stat((dir + relative).c_str(), &status), 0) << relative;
    std::uint64_t murmur[2];
    MurmurHash3_x64_128(content.data(), static_cast<int>(content.size()), 0,
                        murmur);
    char fields[64];
    std::snprintf(fields, sizeof fields,
                  "%08x %016" PRIx64 "%016" PRIx64 " %llu ", crc32Of(content),
                  murmur[0], murmur[1],
                  static_cast<unsigned long long>(status.st_size));
    want.lines += fields + relative + "\n";
    ++want.files;
    want.bytes += static_cast<unsigned long long>(status.st_size);
  }
  return want;
}

// Checks the file lines and the summary, and that exactly tail follows it.
void expectReport(const std::string& out, const Expected& want,
                  const std::string& tail = "") {
  const size_t summary = out.find("# files=");
  ASSERT_NE(summary, std::string::npos) << out;
  EXPECT_EQ(out.substr(0, summary), want.lines);
  unsigned long long files = 0, bytes = 0;
  double wall = -1, cpu = -1, throughput = -1;
  char end = 0;
  ASSERT_EQ(std::sscanf(out.c_str() + summary,
                        "# files=%llu bytes=%llu wall=%lf cpu=%lf "
                        "throughput=%lfMB/s%c",
                        &files, &bytes, &wall, &cpu, &throughput, &end),
            6)
      << out.substr(summary);
  EXPECT_EQ(files, want.files);
  EXPECT_EQ(bytes, want.bytes);
  EXPECT_GE(cpu, 0.0);
  const double rate = wall > 0.0 ? bytes / wall / 1e6 : -1.0;
  EXPECT_NEAR(throughput, rate, 2e-6 + rate * 0.01) << "wall=" << wall;
  EXPECT_EQ(out.substr(out.find('\n', summary) + 1), tail);
}

struct Outcome {
  int status = -1;
  std::string out, err;
};

class Hashdir : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/zu-hashdir-test-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    root = std::string(name) + "/";
    tree = root + "tree/";
    temp = root + "tmp/";
    fs::create_directories(temp);
    // Big enough to span several read blocks.
    std::mt19937 random(20240611);
    std::string noise(1 << 20, '\0');
    for (char& byte : noise) byte = static_cast<char>(random());
    // Listing order (subdirectories first) differs from byte order here:
    // "a-b.txt" sorts before "a/z.txt".
    const Contents files = {
        {"top.txt", "hello, world\n"},
        {"empty.txt", ""},
        {"random.bin", noise},
        {"a/z.txt", "zed"},
        {"a-b.txt", "dash"},
        {"nested/deeper/leaf.txt", "leaf\n"},
        {"with space/name with spaces.txt", "spaced out"},
        {"notes.md", "# not a text file by name\n"},
    };
    for (const auto& [path, content] : files) writeFile(tree + path, content);
  }

  void TearDown() override {
    if (!root.empty()) fs::remove_all(root);
  }

  // Runs the tool through the shell with TMPDIR at tmpdir, by default the
  // scratch one. The arguments here hold no single quotes.
  Outcome run(const std::vector<std::string>& args,
              const std::string& tmpdir = "") {
    std::string command = "TMPDIR='" + (tmpdir.empty() ? temp : tmpdir) +
                          "' '" ZU_HASHDIR_PATH "'";
    for (const std::string& arg : args) command += " '" + arg + "'";
    command += " >'" + root + "stdout' 2>'" + root + "stderr'";
    const int status = std::system(command.c_str());
    Outcome result;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    result.out = readFile(root + "stdout");
    result.err = readFile(root + "stderr");
    return result;
  }

  std::string root, tree, temp;
};

// The pattern narrows the report and the check of the copy, never the copy.
// The copy's name starts with the tree's, yet it lies outside the tree.
TEST_F(Hashdir, PatternFiltersTheReportAndCopyToCopiesTheWholeTree) {
  const std::string copy = root + "tree-copy/";
  const Expected want = expectedReport(tree, ".txt");
  ASSERT_EQ(want.files, 6u);
  const Outcome result = run({"--copy-to", copy, "--pattern=*.TXT", tree});
  ASSERT_EQ(result.status, 0) << result.err;
  expectReport(result.out, want, "# copy-verified files=6\n");
  EXPECT_TRUE(contentsOf(copy) == contentsOf(tree));  // too big to print
}

// A copy target that is the tree, or lies inside it, is refused up front.
TEST_F(Hashdir, BadCommandLinesExitWithOneLineAndTouchNothing) {
  fs::create_directory_symlink(tree, root + "link");
  const Contents before = contentsOf(tree);
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"--frobnicate", tree},
      {tree, "--threads"},
      {"--threads", "0", tree},
      {"--threads", "2x", tree},
      {"--threads", "99999999999999999999", tree},
      {"--pattern", "", tree},
      {tree, root},
      {root + "missing"},
      {tree + "top.txt"},
      {"--copy-to", tree, tree},
      {"--copy-to", root + "link", tree},  // the tree under another name
      {"--copy-to", tree + "nested/copy", tree},
  };
  for (const auto& args : cases) {
    std::string shown;
    for (const std::string& arg : args) shown += "[" + arg + "]";
    const Outcome result = run(args);
    EXPECT_EQ(result.status, 2) << shown;
    EXPECT_EQ(result.out, "") << shown;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1)
        << shown << ": " << result.err;
    EXPECT_EQ(result.err.rfind("zu-hashdir: ", 0), 0u) << shown;
  }
  EXPECT_TRUE(contentsOf(tree) == before);
}

// The report goes to stdout or to --output, and nothing stays in the
// temporary directory either way, nor when the report cannot be put in place.
// A temporary directory on another file system, where there is one, makes
// the rename fail and the report go across by copy.
TEST_F(Hashdir, ReportsEveryFileAndLeavesNoTemporaryFile) {
  EXPECT_EQ(run({"--output", root + "missing/report", tree}).status, 1);
  EXPECT_TRUE(fs::is_empty(temp));
  char shm[] = "/dev/shm/zu-hashdir-test-XXXXXX";
  const std::string across = mkdtemp(shm) ? shm + std::string("/") : temp;
  const struct {
    std::string output, tmpdir;
  } cases[] = {
      {"", temp},  // stdout
      {root + "report-here", temp},
      {root + "report-across", across},
  };
  const Expected want = expectedReport(tree, "");
  for (const auto& c : cases) {
    std::vector<std::string> args{"--threads", "3", tree};
    if (!c.output.empty()) args.insert(args.begin(), {"--output", c.output});
    const Outcome result = run(args, c.tmpdir);
    EXPECT_EQ(result.status, 0) << c.output << ": " << result.err;
    EXPECT_EQ(result.err, "");  // no progress when stderr is no terminal
    EXPECT_EQ(result.out.empty(), !c.output.empty()) << result.out;
    expectReport(c.output.empty() ? result.out : readFile(c.output), want);
    EXPECT_TRUE(fs::is_empty(c.tmpdir)) << c.tmpdir;
  }
  if (across != temp) fs::remove_all(across);
}

}  // namespace
