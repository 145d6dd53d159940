// zu-hashdir run as a separate process on a generated tree; its report is
// checked against checksums, sizes and listings computed here on our own.
#include <ZuPlatform/data.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#ifdef ZU_TEST_HAVE_ZLIB
#include <zlib.h>
#endif

extern char** environ;

namespace {

namespace fs = std::filesystem;

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << content;
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

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

// One report line, or the fields of the summary.
struct Row {
  std::string crc, murmur, path;
  unsigned long long size = 0;
  bool operator==(const Row& o) const {
    return crc == o.crc && murmur == o.murmur && path == o.path &&
           size == o.size;
  }
};

std::ostream& operator<<(std::ostream& os, const Row& row) {
  return os << row.crc << ' ' << row.murmur << ' ' << row.size << ' '
            << row.path;
}

struct Report {
  std::vector<Row> rows;
  std::vector<std::string> notes;  // the lines that start with "# "
};

Report parseReport(const std::string& text) {
  Report report;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    if (line.rfind("# ", 0) == 0) {
      report.notes.push_back(line);
      continue;
    }
    Row row;
    std::istringstream fields(line);
    fields >> row.crc >> row.murmur >> row.size;
    fields.get();  // the one space before the path
    std::getline(fields, row.path);
    report.rows.push_back(row);
  }
  return report;
}

class Hashdir : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/zu-hashdir-test-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    root = std::string(name) + "/";
    tree = root + "tree/";
    temp = root + "tmp/";
    fs::create_directories(temp);
    std::mt19937 random(20240611);
    std::string noise(1 << 20, '\0');
    for (char& byte : noise) byte = static_cast<char>(random());
    // Listing order (subdirectories first) differs from byte order here:
    // "a-b.txt" sorts before "a/z.txt".
    const std::vector<std::pair<std::string, std::string>> files = {
        {"top.txt", "hello, world\n"},
        {"empty.txt", ""},
        {"random.bin", noise},
        {"a/z.txt", "zed"},
        {"a-b.txt", "dash"},
        {"nested/deeper/leaf.txt", "leaf\n"},
        {"with space/name with spaces.txt", "spaced out"},
        {"notes.md", "# not a text file by name\n"},
    };
    for (const auto& file : files) writeFile(tree + file.first, file.second);
  }

  void TearDown() override {
    if (!root.empty()) fs::remove_all(root);
  }

  // Runs the tool with TMPDIR pointing at tmpdir, in the working directory
  // cwd when one is given.
  Outcome run(const std::vector<std::string>& args, const std::string& tmpdir,
              const std::string& cwd = "") {
    std::vector<std::string> env{"TMPDIR=" + tmpdir};
    for (char** entry = environ; *entry; ++entry) {
      if (std::strncmp(*entry, "TMPDIR=", 7) != 0) env.push_back(*entry);
    }
    std::vector<char*> argv{const_cast<char*>(ZU_HASHDIR_PATH)};
    std::vector<char*> envp;
    for (const std::string& a : args)
      argv.push_back(const_cast<char*>(a.c_str()));
    for (const std::string& e : env)
      envp.push_back(const_cast<char*>(e.c_str()));
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    const std::string outPath = root + "stdout", errPath = root + "stderr";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(
        &actions, 2, stderrTo.empty() ? errPath.c_str() : stderrTo.c_str(),
        O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (!cwd.empty())
      posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
    Outcome result;
    pid_t pid;
    const int spawned =
        posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(spawned, 0) << std::strerror(spawned);
    int status = 0;
    if (spawned == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
      result.status = WEXITSTATUS(status);
    }
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    return result;
  }

  Outcome run(const std::vector<std::string>& args) { return run(args, temp); }

  // What the report should hold for the files under tree whose names pass
  // keep, sorted by relative path.
  template <class Keep>
  std::vector<Row> expectedRows(Keep keep) const {
    std::vector<Row> rows;
    for (const auto& item : fs::recursive_directory_iterator(tree)) {
      if (!item.is_regular_file() || !keep(item.path().filename().string())) {
        continue;
      }
      const std::string path = item.path().string();
      const std::string content = readFile(path);
      struct stat status;
      EXPECT_EQ(stat(path.c_str(), &status), 0);
      std::uint64_t murmur[2];
      MurmurHash3_x64_128(content.data(), static_cast<int>(content.size()), 0,
                          murmur);
      char crc[9], hash[33];
      std::snprintf(crc, sizeof crc, "%08x", crc32Of(content));
      std::snprintf(hash, sizeof hash, "%016" PRIx64 "%016" PRIx64, murmur[0],
                    murmur[1]);
      rows.push_back({crc, hash, path.substr(tree.size()),
                      static_cast<unsigned long long>(status.st_size)});
    }
    std::sort(rows.begin(), rows.end(),
              [](const Row& a, const Row& b) { return a.path < b.path; });
    return rows;
  }

  static void expectSummary(const Report& report,
                            const std::vector<Row>& rows) {
    unsigned long long bytes = 0;
    for (const Row& row : rows) bytes += row.size;
    ASSERT_FALSE(report.notes.empty());
    unsigned long long files = 0, summed = 0;
    double wall = -1, cpu = -1, throughput = -1;
    ASSERT_EQ(std::sscanf(report.notes[0].c_str(),
                          "# files=%llu bytes=%llu wall=%lf cpu=%lf "
                          "throughput=%lfMB/s",
                          &files, &summed, &wall, &cpu, &throughput),
              5)
        << report.notes[0];
    EXPECT_EQ(files, rows.size());
    EXPECT_EQ(summed, bytes);
    EXPECT_GT(wall, 0.0);
    EXPECT_GE(cpu, 0.0);
    const double rate = wall > 0.0 ? summed / wall / 1e6 : 0.0;
    EXPECT_NEAR(throughput, rate, 2e-6 + rate * 0.01);
  }

  std::vector<std::string> tempLeftovers() const {
    std::vector<std::string> names;
    for (const auto& item : fs::directory_iterator(temp)) {
      names.push_back(item.path().filename().string());
    }
    return names;
  }

  std::string root, tree, temp;
  std::string stderrTo;  // a terminal to use instead of a file, if set
};

TEST_F(Hashdir, ReportsEveryFileSortedWithIndependentChecksums) {
  const Outcome result = run({"--threads", "3", tree});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");  // no progress when stderr is no terminal
  const Report report = parseReport(result.out);
  const auto rows = expectedRows([](const std::string&) { return true; });
  EXPECT_EQ(report.rows, rows);
  expectSummary(report, rows);
  EXPECT_EQ(report.notes.size(), 1u);
  EXPECT_TRUE(tempLeftovers().empty());
}

// On a terminal the ticker rewrites one line and clears it once done.
TEST_F(Hashdir, ProgressOnlyOnATerminalAndClearedAtTheEnd) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  stderrTo = ptsname(master);
  const Outcome result = run({tree});
  EXPECT_EQ(result.status, 0);
  ASSERT_EQ(fcntl(master, F_SETFL, O_NONBLOCK), 0);
  std::string shown;
  char buffer[4096];
  ssize_t got;
  while ((got = read(master, buffer, sizeof buffer)) > 0)
    shown.append(buffer, got);
  close(master);
  // Whether a refresh gets in before the end depends on timing.
  const std::string clear = "\r\033[K";
  ASSERT_GE(shown.size(), clear.size());
  EXPECT_EQ(shown.substr(shown.size() - clear.size()), clear);
  std::istringstream refreshes(shown.substr(0, shown.size() - clear.size()));
  std::string refresh;
  std::getline(refreshes, refresh, '\r');
  EXPECT_EQ(refresh, "");
  while (std::getline(refreshes, refresh, '\r')) {
    unsigned done = 99, total = 0;
    char tail = 0;
    EXPECT_EQ(std::sscanf(refresh.c_str(), "hashing %u/%u files%c", &done,
                          &total, &tail),
              2)
        << refresh;
    EXPECT_LE(done, 8u);
    EXPECT_EQ(total, 8u);
  }
}

// MurmurHash3 takes an int length; a sparse file costs nothing to make.
TEST_F(Hashdir, RefusesFilesOf2GiBOrMoreAndReportsTheRest) {
  writeFile(tree + "huge", "");
  ASSERT_EQ(truncate((tree + "huge").c_str(), 1LL << 31), 0);
  const Outcome result = run({tree});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  EXPECT_NE(result.err.find("huge"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("2 GiB"), std::string::npos) << result.err;
  const auto rows =
      expectedRows([](const std::string& name) { return name != "huge"; });
  const Report report = parseReport(result.out);
  EXPECT_EQ(report.rows, rows);
  expectSummary(report, rows);
}

TEST_F(Hashdir, PatternKeepsOnlyMatchingNames) {
  const Outcome result = run({"--pattern=*.txt", tree});
  ASSERT_EQ(result.status, 0) << result.err;
  const Report report = parseReport(result.out);
  const auto rows = expectedRows([](const std::string& name) {
    return name.size() > 4 && name.compare(name.size() - 4, 4, ".txt") == 0;
  });
  ASSERT_EQ(rows.size(), 6u);
  EXPECT_EQ(report.rows, rows);
  expectSummary(report, rows);
}

TEST_F(Hashdir, CopyToMakesAnIdenticalTree) {
  const std::string copy = root + "copy/";
  const Outcome result = run({"--copy-to", copy, "--pattern", "*.txt", tree});
  ASSERT_EQ(result.status, 0) << result.err;
  const Report report = parseReport(result.out);
  ASSERT_EQ(report.notes.size(), 2u);
  EXPECT_EQ(report.notes[1], "# copy-verified files=6");
  // The copy takes the whole tree, whatever the pattern.
  size_t compared = 0;
  for (const auto& item : fs::recursive_directory_iterator(tree)) {
    if (!item.is_regular_file()) continue;
    const std::string relative = item.path().string().substr(tree.size());
    EXPECT_EQ(readFile(copy + relative), readFile(item.path().string()))
        << relative;
    ++compared;
  }
  EXPECT_EQ(compared, 8u);
}

TEST_F(Hashdir, CopyThatCannotBeMadeFails) {
  writeFile(root + "blocker", "a file where a directory should go");
  const struct {
    std::string target;
    const char* why;
  } cases[] = {
      {root + "blocker/copy", "target below a regular file"},
      {tree, "target is the source"},
      {tree + "nested/copy", "target inside the source"},
  };
  for (const auto& c : cases) {
    const Outcome result = run({"--copy-to", c.target, tree});
    EXPECT_NE(result.status, 0) << c.why;
    EXPECT_NE(result.err.find("zu-hashdir: "), std::string::npos) << c.why;
    EXPECT_EQ(result.out.find("# copy-verified"), std::string::npos) << c.why;
  }
  EXPECT_EQ(readFile(tree + "random.bin").size(), 1u << 20);
}

TEST_F(Hashdir, BadCommandLinesExitWithOneLine) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"--frobnicate", tree},
      {"-x", tree},
      {tree, "--threads"},
      {"--threads", "0", tree},
      {"--threads", "-2", tree},
      {"--threads", "2x", tree},
      {"--threads", "99999999999999999999", tree},
      {"--pattern", "", tree},
      {tree, root},
      {root + "missing"},
      {tree + "top.txt"},
  };
  for (const auto& args : cases) {
    std::string shown;
    for (const std::string& arg : args) shown += "[" + arg + "]";
    const Outcome result = run(args);
    EXPECT_NE(result.status, 0) << shown;
    EXPECT_EQ(result.out, "") << shown;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1)
        << shown << ": " << result.err;
    EXPECT_EQ(result.err.rfind("zu-hashdir: ", 0), 0u) << shown;
  }
  const Outcome help = run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: zu-hashdir", 0), 0u);
}

// The report lands at --output and nothing stays in the temporary directory,
// also when the two lie on different file systems and rename cannot work.
TEST_F(Hashdir, OutputMovesTheReportIntoPlace) {
  const std::string expected = run({"--threads", "2", tree}).out;
  ASSERT_NE(expected, "");
  auto withoutTimes = [](const std::string& text) {
    return text.substr(0, text.find("# files="));
  };

  const Outcome absolute = run({"--output", root + "out/report.txt", tree});
  fs::create_directories(root + "out");
  const Outcome again = run({"--output", root + "out/report.txt", tree});
  EXPECT_NE(absolute.status, 0) << "no directory to put it in";
  ASSERT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(again.out, "");
  EXPECT_EQ(withoutTimes(readFile(root + "out/report.txt")),
            withoutTimes(expected));

  const Outcome relative =
      run({"--output", "out/relative.txt", tree}, temp, root);
  ASSERT_EQ(relative.status, 0) << relative.err;
  EXPECT_EQ(withoutTimes(readFile(root + "out/relative.txt")),
            withoutTimes(expected));
  EXPECT_TRUE(tempLeftovers().empty());

  struct stat shm, here;
  if (stat("/dev/shm", &shm) != 0 || stat(root.c_str(), &here) != 0 ||
      shm.st_dev == here.st_dev) {
    GTEST_SKIP() << "no second file system to move the report across";
  }
  char name[] = "/dev/shm/zu-hashdir-test-XXXXXX";
  ASSERT_NE(mkdtemp(name), nullptr);
  const Outcome across =
      run({"--output", root + "out/across.txt", tree}, std::string(name) + "/");
  EXPECT_EQ(across.status, 0) << across.err;
  EXPECT_EQ(withoutTimes(readFile(root + "out/across.txt")),
            withoutTimes(expected));
  EXPECT_TRUE(fs::is_empty(name));
  fs::remove_all(name);
}

}  // namespace
