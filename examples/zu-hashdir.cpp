// zu-hashdir: hashes every regular file under a directory on a thread pool,
// optionally copies the tree and checks the copy against the original.
//
//   zu-hashdir [--threads N] [--pattern PAT] [--copy-to DIR2]
//              [--output FILE] DIR
//
// --threads N      hashing threads, 1 to 1024 (default: the processor count)
// --pattern PAT    only files whose names match PAT ('*' any run, '?' one
//                  byte, case ignored); default "*"
// --copy-to DIR2   copy the whole tree into DIR2 (created if missing, files
//                  overwritten), then hash the copy and compare it file by file
// --output FILE    write the report to FILE instead of standard output
//
// The report has one line per file, sorted by the bytes of its path relative
// to DIR, the fields separated by single spaces:
//
//   cccccccc hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh size path
//
//   cccccccc  CRC-32 of the content (reflected, polynomial 0xEDB88320, the
//             common one), 8 lowercase hex digits
//   hhhh...   MurmurHash3_x64_128 of the content with seed 0: h1 then h2,
//             16 lowercase hex digits each
//   size      the content's length in bytes, decimal
//   path      the rest of the line: the path relative to DIR, "/" between
//             components, with "\" written as "\\" and a newline as "\n"
//
// then one summary line, the times in seconds and MB being 10^6 bytes:
//
//   # files=N bytes=N wall=S.SSSSSS cpu=S.SSSSSS throughput=X.XXXXXXMB/s
//
// wall and cpu cover listing and hashing DIR; cpu is the user time of all
// threads. With --copy-to, a copy that matches adds one more line:
//
//   # copy-verified files=N
//
// Progress (files done / total) goes to stderr only when it is a terminal;
// messages go to stderr as one line each, "zu-hashdir: ...". Exit status: 0
// when everything was hashed (and the copy matches), 1 when a file could not
// be hashed, the copy failed or differs, the tree's listing changed between
// the start and the end of the run, or the report could not be written, 2 for
// a bad command line or a DIR that is not there. With status 1 the report is
// still written, without the files that failed, unless writing it failed.
#include <ZuPlatform/concurrency.h>
#include <ZuPlatform/data.h>
#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/filesystem.h>
#include <ZuPlatform/paths.h>
#include <ZuPlatform/time.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <vector>

using ZuPlatform::Directory;
using ZuPlatform::File;
using ZuPlatform::ThreadPool;

namespace {

constexpr char PROGRAM[] = "zu-hashdir";
constexpr size_t READ_BLOCK_SIZE = 256 * 1024;
// MurmurHash3 takes the length as an int, so 2 GiB and more cannot be hashed.
constexpr size_t MAX_CONTENT_SIZE = INT_MAX;
constexpr unsigned long MAX_THREADS = 1024;
constexpr int TICKS_PER_REFRESH = 20;  // of TICK_MS each: 5 refreshes a second
constexpr unsigned long TICK_MS = 10;

constexpr int EXIT_FAILED = 1;
constexpr int EXIT_USAGE = 2;

const char USAGE[] =
    "usage: zu-hashdir [--threads N] [--pattern PAT] [--copy-to DIR2]\n"
    "                  [--output FILE] DIR\n"
    "Hashes the regular files under DIR (CRC-32 and MurmurHash3_x64_128)\n"
    "and prints one line per file, sorted by path, then a summary.\n"
    "  --threads N     hashing threads, 1 to 1024 (default: processor count)\n"
    "  --pattern PAT   only file names matching PAT (* and ?), default *\n"
    "  --copy-to DIR2  copy the tree into DIR2 and verify the copy\n"
    "  --output FILE   write the report to FILE instead of stdout\n"
    "  --help          show this text\n";

// Every message of the program and of the library ends up here, as one line
// with the program's name in front. It never throws or exits: the caller of
// each message decides what happens next. Debug and trace chatter (a timer
// used out of turn, say) is of no use to the person running the tool.
void printLogMessage(Zu::eLogLevel level, const char* format, va_list args) {
  if (level > Zu::LOG_LEVEL_WARN) return;
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) return;
  std::string text(static_cast<size_t>(length) + 1, '\0');
  std::vsnprintf(&text[0], text.size(), format, args);
  text.pop_back();
  if (text.empty() || text.back() != '\n') text += '\n';
  const char* kind = level == Zu::LOG_LEVEL_WARN ? "warning: " : "";
  const std::string line = std::string(PROGRAM) + ": " + kind + text;
  std::fputs(line.c_str(), stderr);
}

std::string describeErrno(int error) {
  return std::error_code(error, std::generic_category()).message();
}

struct Options {
  unsigned long threads = 0;  // 0 asks for the processor count
  std::string pattern = "*";
  std::string copyTo;
  std::string output;
  std::string directory;
  bool help = false;
};

// Digits only, no sign or blanks, and within 1..MAX_THREADS.
bool parseThreadCount(const std::string& text, unsigned long& count) {
  if (text.empty() || text.size() > 9 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  count = std::strtoul(text.c_str(), nullptr, 10);
  return count >= 1 && count <= MAX_THREADS;
}

// Fills options from the command line; false once a message says what is
// wrong. Options take their value as the next argument or after "=", and
// "--" ends the options.
bool parseArguments(int argc, char** argv, Options& options) {
  bool optionsEnded = false;
  bool haveDirectory = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (optionsEnded || argument.size() < 2 || argument[0] != '-') {
      if (haveDirectory) {
        Zu::LogError("more than one DIR given: '%s' and '%s' (see --help)\n",
                     options.directory.c_str(), argument.c_str());
        return false;
      }
      options.directory = argument;
      haveDirectory = true;
      continue;
    }
    if (argument == "--") {
      optionsEnded = true;
      continue;
    }
    if (argument == "--help" || argument == "-h") {
      options.help = true;
      return true;
    }
    const size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    std::string* target = nullptr;
    std::string threadText;
    if (name == "--threads") {
      target = &threadText;
    } else if (name == "--pattern") {
      target = &options.pattern;
    } else if (name == "--copy-to") {
      target = &options.copyTo;
    } else if (name == "--output") {
      target = &options.output;
    } else {
      Zu::LogError("unknown option '%s' (see --help)\n", name.c_str());
      return false;
    }
    if (equals != std::string::npos) {
      *target = argument.substr(equals + 1);
    } else if (i + 1 < argc) {
      *target = argv[++i];
    } else {
      Zu::LogError("option %s needs a value (see --help)\n", name.c_str());
      return false;
    }
    if (target == &threadText &&
        !parseThreadCount(threadText, options.threads)) {
      Zu::LogError("--threads needs a whole number from 1 to %lu, not '%s'\n",
                   MAX_THREADS, threadText.c_str());
      return false;
    }
    if (target->empty()) {
      Zu::LogError("option %s needs a non-empty value\n", name.c_str());
      return false;
    }
  }
  if (!haveDirectory || options.directory.empty()) {
    Zu::LogError("no DIR given (see --help)\n");
    return false;
  }
  return true;
}

struct Digest {
  unsigned int crc = 0;
  std::uint64_t murmur[2] = {0, 0};
  unsigned long long size = 0;

  bool operator==(const Digest& other) const {
    return crc == other.crc && murmur[0] == other.murmur[0] &&
           murmur[1] == other.murmur[1] && size == other.size;
  }
};

// One file of a tree. error is empty once digest holds its hashes.
struct Entry {
  std::string relative;
  std::string path;
  Digest digest;
  std::string error = "not hashed";
};

ssize_t readRetrying(int fd, void* buffer, size_t size) {
  for (;;) {
    const ssize_t got = ::read(fd, buffer, size);
    if (got >= 0 || errno != EINTR) return got;
  }
}

// Reads the whole file in blocks, carrying the CRC from block to block, then
// hashes the content in one piece: MurmurHash3 has no incremental form. An
// empty string when done, else what went wrong.
std::string hashFile(const std::string& path, Digest& digest) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return "cannot open " + path + ": " + describeErrno(errno);
  std::string error;
  std::vector<unsigned char> content;
  struct stat status;
  if (::fstat(fd, &status) == 0 && status.st_size > 0) {
    if (static_cast<unsigned long long>(status.st_size) > MAX_CONTENT_SIZE) {
      ::close(fd);
      return "cannot hash " + path + ": files of 2 GiB or more are refused";
    }
    content.reserve(static_cast<size_t>(status.st_size));
  }
  unsigned int crc = 0;
  for (;;) {
    // The file may have grown since fstat, so the limit holds here too.
    if (content.size() > MAX_CONTENT_SIZE) {
      error = "cannot hash " + path + ": files of 2 GiB or more are refused";
      break;
    }
    const size_t offset = content.size();
    content.resize(offset + READ_BLOCK_SIZE);
    const ssize_t got =
        readRetrying(fd, content.data() + offset, READ_BLOCK_SIZE);
    if (got < 0) {
      error = "cannot read " + path + ": " + describeErrno(errno);
      break;
    }
    content.resize(offset + static_cast<size_t>(got));
    if (got == 0) break;
    crc = Zu::calculateCRC32(content.data() + offset, static_cast<int>(got),
                             static_cast<int>(crc));
  }
  ::close(fd);
  if (!error.empty()) return error;
  digest.crc = crc;
  digest.size = content.size();
  unsigned char out[16];
  MurmurHash3_x64_128(content.data(), static_cast<int>(content.size()), 0, out);
  std::memcpy(digest.murmur, out, sizeof out);
  return std::string();
}

class HashUnit : public ThreadPool::WorkUnit {
 public:
  HashUnit(Entry& entry, std::atomic<size_t>& done)
      : entry(entry), done(done) {}

  void process() override {
    try {
      entry.error = hashFile(entry.path, entry.digest);
    } catch (const std::bad_alloc&) {
      entry.error = "cannot hash " + entry.path + ": out of memory";
    }
    done.fetch_add(1, std::memory_order_relaxed);
  }

  void abort() override { entry.error = "not hashed: " + entry.path; }

 private:
  Entry& entry;
  std::atomic<size_t>& done;
};

// Rewrites "files done / total" on one line of stderr a few times a second.
class ProgressTicker : public ZuPlatform::StepperThread {
 public:
  ProgressTicker(const char* label, const std::atomic<size_t>& done,
                 size_t total)
      : label(label), done(done), total(total) {}
  ~ProgressTicker() override { finish(); }

  bool step() override {
    std::fprintf(stderr, "\r%s %zu/%zu files", label,
                 done.load(std::memory_order_relaxed), total);
    // Short naps rather than one long one, so finish() is not kept waiting.
    for (int tick = 0; tick < TICKS_PER_REFRESH && !finishing.load(); ++tick) {
      Zu::ZuThreadSleep(TICK_MS);
    }
    return true;
  }

  // Stops the ticker and clears its line; harmless when it never ran.
  void finish() {
    if (getThreadState() == STATE_STOPPED) return;
    finishing.store(true);
    stop();
    std::fputs("\r\033[K", stderr);
  }

 private:
  const char* label;
  const std::atomic<size_t>& done;
  size_t total;
  std::atomic<bool> finishing{false};
};

// The regular files under root that match pattern, sorted by relative path.
std::vector<Entry> listTree(const Directory& root, const std::string& pattern) {
  const std::string prefix = root.toUniversalPath();
  std::vector<Entry> entries;
  for (const File& file : ZuPlatform::Filesystem::glob(root, pattern, true)) {
    Entry entry;
    entry.path = file.toUniversalPath();
    entry.relative = entry.path.compare(0, prefix.size(), prefix) == 0
                         ? entry.path.substr(prefix.size())
                         : entry.path;
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return a.relative < b.relative;
  });
  return entries;
}

// True when both lists name the same files, in the same order.
bool sameFiles(const std::vector<Entry>& a, const std::vector<Entry>& b) {
  return std::equal(
      a.begin(), a.end(), b.begin(), b.end(),
      [](const Entry& x, const Entry& y) { return x.relative == y.relative; });
}

// Hashes every entry on a pool of threadCount threads; the number of entries
// that failed, each told through the log.
size_t hashEntries(std::vector<Entry>& entries, unsigned long threadCount,
                   const char* label) {
  std::atomic<size_t> done{0};
  // Declared before the pool, so they outlive it: the pool keeps pointers.
  std::vector<std::unique_ptr<HashUnit>> units;
  std::vector<ThreadPool::WorkUnit*> batch;
  units.reserve(entries.size());
  batch.reserve(entries.size());
  for (Entry& entry : entries) {
    units.push_back(std::make_unique<HashUnit>(entry, done));
    batch.push_back(units.back().get());
  }
  ProgressTicker ticker(label, done, entries.size());
  if (::isatty(STDERR_FILENO) == 1) ticker.start();
  {
    const unsigned long useful = std::max<unsigned long>(
        1, std::min<unsigned long>(threadCount, entries.size()));
    ThreadPool pool(static_cast<unsigned int>(useful));
    pool.add(batch);
    for (const auto& unit : units) unit->wait();
  }
  ticker.finish();
  size_t failed = 0;
  for (const Entry& entry : entries) {
    if (entry.error.empty()) continue;
    Zu::LogError("%s\n", entry.error.c_str());
    ++failed;
  }
  return failed;
}

// A name that needs none of the escapes is written as it is.
std::string escapePath(const std::string& path) {
  if (path.find_first_of("\\\n") == std::string::npos) return path;
  std::string escaped;
  escaped.reserve(path.size() + 8);
  for (const char c : path) {
    if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

struct Summary {
  size_t files = 0;
  unsigned long long bytes = 0;
  double wallSeconds = 0.0;
  double cpuSeconds = 0.0;
  bool copyVerified = false;
};

bool writeReport(std::FILE* out, const std::vector<Entry>& entries,
                 const Summary& summary) {
  for (const Entry& entry : entries) {
    if (!entry.error.empty()) continue;
    const Digest& digest = entry.digest;
    std::fprintf(out, "%08x %016llx%016llx %llu %s\n", digest.crc,
                 static_cast<unsigned long long>(digest.murmur[0]),
                 static_cast<unsigned long long>(digest.murmur[1]), digest.size,
                 escapePath(entry.relative).c_str());
  }
  const double megabytesPerSecond =
      summary.wallSeconds > 0.0 ? summary.bytes / summary.wallSeconds / 1e6
                                : 0.0;
  std::fprintf(out,
               "# files=%zu bytes=%llu wall=%.6f cpu=%.6f "
               "throughput=%.6fMB/s\n",
               summary.files, summary.bytes, summary.wallSeconds,
               summary.cpuSeconds, megabytesPerSecond);
  if (summary.copyVerified) {
    std::fprintf(out, "# copy-verified files=%zu\n", summary.files);
  }
  return std::ferror(out) == 0;
}

// Copies the tree into target and compares the copy's hashes with the
// original's; true when every file that was hashed came across intact.
bool copyAndVerify(const Directory& source, const Directory& target,
                   const std::vector<Entry>& original, const Options& options) {
  if (!ZuPlatform::Filesystem::copy(source, target, true)) {
    Zu::LogError("copying %s to %s failed\n", source.toUniversalPath().c_str(),
                 target.toUniversalPath().c_str());
    return false;
  }
  std::vector<Entry> copied = listTree(target, options.pattern);
  hashEntries(copied, options.threads, "verifying");
  size_t differing = 0;
  size_t compared = 0;
  for (const Entry& entry : original) {
    if (!entry.error.empty()) continue;
    ++compared;
    const auto found =
        std::lower_bound(copied.begin(), copied.end(), entry.relative,
                         [](const Entry& e, const std::string& relative) {
                           return e.relative < relative;
                         });
    if (found == copied.end() || found->relative != entry.relative) {
      Zu::LogError("the copy lacks %s\n", entry.relative.c_str());
      ++differing;
    } else if (!found->error.empty()) {
      ++differing;  // already told by hashEntries
    } else if (!(found->digest == entry.digest)) {
      Zu::LogError("the copy of %s differs\n", entry.relative.c_str());
      ++differing;
    }
  }
  if (differing > 0) {
    Zu::LogError("the copy in %s does not match: %zu of %zu files differ\n",
                 target.toUniversalPath().c_str(), differing, compared);
  }
  return differing == 0;
}

// Refuses a target that is the source itself or lies inside it: copying a
// tree over itself would truncate each file before reading it.
bool isUsableCopyTarget(const Directory& source, const Directory& target) {
  const std::string sourceText = source.toUniversalPath();
  const std::string targetText = target.toUniversalPath();
  if (targetText.compare(0, sourceText.size(), sourceText) == 0) return false;
  struct stat sourceStatus;
  struct stat targetStatus;
  if (::stat(sourceText.c_str(), &sourceStatus) != 0 ||
      ::stat(targetText.c_str(), &targetStatus) != 0) {
    return true;
  }
  return sourceStatus.st_dev != targetStatus.st_dev ||
         sourceStatus.st_ino != targetStatus.st_ino;
}

// Filesystem::rename takes the new name relative to the file's directory, so
// an absolute target is reached by climbing to the root first. Paths here are
// normalised text, so the climb is lexical and no link is followed on the way.
std::string nameFrom(const Directory& from, const File& target) {
  const std::string fromText = from.toUniversalPath();
  const size_t depth = std::count(fromText.begin(), fromText.end(), '/') - 1;
  std::string name;
  for (size_t level = 0; level < depth; ++level) name += "../";
  return name + target.toUniversalPath().substr(1);
}

// Moves the finished report to target: a rename where one file system holds
// both, else a copy next to the target that is then renamed over it, so the
// target never shows a half-written report.
bool moveIntoPlace(const File& report, const File& target) {
  namespace Filesystem = ZuPlatform::Filesystem;
  if (Filesystem::rename(report, nameFrom(Directory(report), target))) {
    return true;
  }
  const Directory targetDirectory(target);
  const File staged = targetDirectory.file(report.getName());
  if (!Filesystem::copy(report, targetDirectory, false)) {
    Filesystem::remove(staged);
    return false;
  }
  if (!Filesystem::rename(staged, target.getName())) {
    Filesystem::remove(staged);
    return false;
  }
  Filesystem::remove(report);
  return true;
}

bool streamToStdout(const File& report) {
  std::FILE* in = std::fopen(report.toNativePath().c_str(), "rb");
  if (!in) return false;
  char buffer[65536];
  size_t got;
  bool written = true;
  while ((got = std::fread(buffer, 1, sizeof buffer, in)) > 0) {
    written = written && std::fwrite(buffer, 1, got, stdout) == got;
  }
  const bool readAll = std::ferror(in) == 0;
  std::fclose(in);
  return readAll && written && std::fflush(stdout) == 0;
}

// Writes the report into a new temporary file, then moves it to --output or
// copies it to stdout; the temporary file is gone afterwards either way.
bool deliverReport(const std::vector<Entry>& entries, const Summary& summary,
                   const std::string& output) {
  const File report = ZuPlatform::Filesystem::createTempFile();
  const std::string reportPath = report.toNativePath();
  // Anyone can plant a link or a FIFO at the predictable name: neither is
  // followed nor waited on, and only a regular file is written.
  int fd = reportPath.empty()
               ? -1
               : ::open(reportPath.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW |
                                                O_NONBLOCK | O_CLOEXEC);
  struct stat status;
  if (fd >= 0 && (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
    ::close(fd);
    fd = -1;
  }
  if (fd < 0) {
    // The file that createTempFile made goes; anything planted there stays.
    if (!reportPath.empty() && ::lstat(reportPath.c_str(), &status) == 0 &&
        S_ISREG(status.st_mode)) {
      ZuPlatform::Filesystem::remove(report);
    }
    Zu::LogError(
        "cannot create a temporary file in %s\n",
        Directory(Directory::WELL_KNOWN_TEMP).toUniversalPath().c_str());
    return false;
  }
  // The temporary file is made executable-wide; a report is plain data.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  std::FILE* out = ::fdopen(fd, "w");
  if (!out) {
    ::close(fd);
    ZuPlatform::Filesystem::remove(report);
    Zu::LogError("cannot write %s\n", reportPath.c_str());
    return false;
  }
  const bool written = writeReport(out, entries, summary);
  if (std::fclose(out) != 0 || !written) {
    ZuPlatform::Filesystem::remove(report);
    Zu::LogError("cannot write %s\n", reportPath.c_str());
    return false;
  }
  if (output.empty()) {
    const bool streamed = streamToStdout(report);
    ZuPlatform::Filesystem::remove(report);
    if (!streamed) Zu::LogError("cannot write the report to stdout\n");
    return streamed;
  }
  const File target(output);
  if (!moveIntoPlace(report, target)) {
    ZuPlatform::Filesystem::remove(report);
    Zu::LogError("cannot put the report at %s\n",
                 target.toUniversalPath().c_str());
    return false;
  }
  return true;
}

int run(const Options& options) {
  const Directory root(options.directory);
  if (!root.exists()) {
    Zu::LogError("no such directory: %s\n", options.directory.c_str());
    return EXIT_USAGE;
  }
  Directory copyTarget;
  if (!options.copyTo.empty()) {
    copyTarget = Directory(options.copyTo);
    if (!isUsableCopyTarget(root, copyTarget)) {
      Zu::LogError("--copy-to %s must lie outside %s\n", options.copyTo.c_str(),
                   options.directory.c_str());
      return EXIT_USAGE;
    }
  }

  Summary summary;
  Zu::ZuTimer timer;
  const double cpuStart = ZuPlatform::CycleTime::getCurrentValue();
  std::vector<Entry> entries = listTree(root, options.pattern);
  const size_t failed = hashEntries(entries, options.threads, "hashing");
  summary.wallSeconds = timer.stop();
  summary.cpuSeconds = ZuPlatform::CycleTime::getCurrentValue() - cpuStart;
  for (const Entry& entry : entries) {
    if (!entry.error.empty()) continue;
    ++summary.files;
    summary.bytes += entry.digest.size;
  }

  bool copyFailed = false;
  if (!options.copyTo.empty()) {
    summary.copyVerified = copyAndVerify(root, copyTarget, entries, options);
    copyFailed = !summary.copyVerified;
  }
  // A directory that cannot be read (or an entry that cannot be examined)
  // just drops out of a listing, unreported. Listing again at the end, after
  // the copy, shows such a loss when it is passing, and a tree that changed
  // under the run.
  const bool listingHeld = sameFiles(entries, listTree(root, options.pattern));
  if (!listingHeld) {
    Zu::LogError(
        "the files under %s changed during the run, or could not "
        "all be listed\n",
        options.directory.c_str());
  }
  if (!deliverReport(entries, summary, options.output)) return EXIT_FAILED;
  return failed > 0 || copyFailed || !listingHeld ? EXIT_FAILED : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  Zu::LogSetHandler(printLogMessage);
  Options options;
  if (!parseArguments(argc, argv, options)) return EXIT_USAGE;
  if (options.help) {
    std::fputs(USAGE, stdout);
    return EXIT_SUCCESS;
  }
  if (options.threads == 0) {
    const int cores = ZuPlatform::CPU::getCoreCount();
    options.threads =
        cores < 1 ? 1 : std::min<unsigned long>(cores, MAX_THREADS);
  }
  try {
    return run(options);
  } catch (const std::bad_alloc&) {
    Zu::LogError("out of memory\n");
    return EXIT_FAILED;
  }
}
