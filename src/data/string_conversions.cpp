#include <ZuPlatform/data.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace ZuPlatform {
namespace StringConversions {

// Both directions size their buffer from the argument alone and convert in one
// pass. The converters answer (size_t)-1 for a sequence the locale rejects;
// that value is never a count, so it becomes the empty result before anything
// could use it as a length.
namespace {

constexpr size_t CONVERSION_FAILED = static_cast<size_t>(-1);

}  // namespace

std::wstring stringToWString(const std::string& text) {
  const size_t limit = text.size();  // n bytes never decode to more than n
  std::unique_ptr<wchar_t[]> buffer(new wchar_t[limit + 1]);
  const size_t count = mbstowcs(buffer.get(), text.c_str(), limit);
  if (count == CONVERSION_FAILED) return std::wstring();
  buffer[count] = L'\0';
  return std::wstring(buffer.get(), count);
}

// The output may take as many bytes as the argument has characters; wcstombs
// writes whole characters only, so a multibyte text that outgrows that ends
// before the first character that does not fit.
std::string wStringToString(const std::wstring& text) {
  const size_t limit = text.size();
  std::unique_ptr<char[]> buffer(new char[limit + 1]);
  const size_t count = wcstombs(buffer.get(), text.c_str(), limit);
  if (count == CONVERSION_FAILED) return std::string();
  buffer[count] = '\0';
  return std::string(buffer.get(), count);
}

}  // namespace StringConversions
}  // namespace ZuPlatform
