// zu-hashdir run as a separate process on a generated tree; its report is
// checked against checksums, sizes and sorted paths computed here on our own.
#include <ZuPlatform/data.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;
using Contents = std::map<std::string, std::string>;  // relative path: bytes

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The report on the files with the given extension (all when empty), in byte
// order of path, up to the times of its summary line. The CRC is computed a
// bit at a time, sharing nothing with the library's table.
std::string expectedReport(const Contents& files, const std::string& ext) {
  std::string lines;
  size_t count = 0, bytes = 0;
  for (const auto& [path, content] : files) {
    if (!ext.empty() && fs::path(path).extension() != ext) continue;
    unsigned int crc = ~0u;
    for (const unsigned char byte : content)
      for (int bit = 0; bit < 8; ++bit)
        crc = crc >> 1 ^ (0xEDB88320u & -((crc ^ byte >> bit) & 1));
    unsigned long long murmur[2];
    MurmurHash3_x64_128(content.data(), int(content.size()), 0, murmur);
    char fields[64];
    std::snprintf(fields, sizeof fields, "%08x %016llx%016llx %zu ", ~crc,
                  murmur[0], murmur[1], content.size());
    lines += fields + path + "\n";
    ++count, bytes += content.size();
  }
  return lines + "# files=" + std::to_string(count) +
         " bytes=" + std::to_string(bytes);
}

// The report goes to stdout or to --output, and the pattern narrows the
// report and the check of the copy, never the copy (whose name starts with
// the tree's). Each failure says one line; a copy target that is the tree or
// lies inside it is refused up front. Nothing is ever left in TMPDIR, and the
// tree never changes.
TEST(Hashdir, ReportsCopiesAndRefusesBadCommandLines) {
  char name[] = "/tmp/zu-hashdir-test-XXXXXX";
  const std::string root = mkdtemp(name), tree = root + "/tree/",
                    temp = root + "/tmp/";
  // Listing order (subdirectories first) differs from byte order here:
  // "a-b.txt" sorts before "a/z.txt". The noise spans several read blocks.
  Contents files{{"empty.txt", ""}, {"random.bin", std::string(1 << 20, 0)}};
  for (const char* name : {"top.txt", "a/z.txt", "a-b.txt", "a/b/c/leaf.txt",
                           "with space/name with spaces.txt", "notes.md"})
    files[name] = name;
  for (size_t i = 0; i < 1 << 20; ++i)
    files["random.bin"][i] = char(i * i >> 7);
  for (const auto& [path, content] : files) {
    fs::create_directories(fs::path(tree + path).parent_path());
    std::ofstream(tree + path, std::ios::binary) << content;
  }
  fs::copy(tree, root + "/made", fs::copy_options::recursive);
  fs::create_directories(temp);
  fs::create_directory_symlink(tree, root + "/link");
  // Only the last row with status 0 writes the file "report".
  const struct {
    std::string args;
    int status;
    std::string ext = "", tail = "";
  } rows[] = {
      {"--copy-to " + root + "/tree-copy '--pattern=*.TXT' " + tree, 0, ".txt",
       "# copy-verified files=6\n"},
      {"--threads 3 " + tree, 0},
      {"--output " + root + "/report " + tree, 0},
      {"", 2},
      {"--frobnicate " + tree, 2},
      {tree + " --threads", 2},
      {"--threads 0 " + tree, 2},
      {"--threads 2x " + tree, 2},
      {"--pattern= " + tree, 2},
      {tree + " " + root, 2},
      {root + "/missing", 2},
      {"--copy-to " + tree + " " + tree, 2},
      {"--copy-to " + root + "/link " + tree, 2},  // the tree by another name
      {"--copy-to " + tree + "a/copy " + tree, 2},
      {"--output " + root + "/missing/report " + tree, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.args);
    const std::string command = "cd " + root + " && TMPDIR=" + temp +
                                " " ZU_HASHDIR_PATH " " + row.args +
                                " >out 2>err";
    EXPECT_EQ(std::system(command.c_str()), row.status << 8);  // a wait status
    const std::string out = readFile(root + "/out"),
                      err = readFile(root + "/err");
    EXPECT_TRUE(fs::is_empty(temp));
    if (row.status != 0) {
      EXPECT_EQ(out + err.substr(0, 12), "zu-hashdir: ");  // nothing on stdout
      EXPECT_EQ(err.find('\n'), err.size() - 1) << err;
      continue;
    }
    EXPECT_EQ(err, "");  // no progress when stderr is no terminal
    // With --output, stdout stays empty or the tail check fails.
    const std::string report = readFile(root + "/report") + out;
    const size_t times = report.find(" wall=");
    EXPECT_EQ(report.substr(0, times), expectedReport(files, row.ext));
    EXPECT_EQ(report.substr(report.find('\n', times) + 1), row.tail);
  }
  // The copy is the whole tree, and the tree is as it was made.
  for (const std::string other : {"/tree-copy", "/made"})
    EXPECT_EQ(std::system(("diff -r " + tree + " " + root + other).c_str()), 0);
  fs::remove_all(root);
}

}  // namespace
