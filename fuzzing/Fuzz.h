/// What the fuzz targets share: how bytes become values, where files may lie, and how a broken promise is told.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Takes values from an input, one behind the other. Behind its end all are 0 or empty.
class CBytes {
 public:
  CBytes(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

  bool isEmpty() const { return m_rest.empty(); }
  std::uint8_t byte() {
    if (m_rest.empty()) return 0;
    const auto value = static_cast<std::uint8_t>(m_rest.front());
    m_rest.remove_prefix(1);
    return value;
  }
  bool flag() { return (byte() & 1) != 0; }
  /// 0 to count - 1, of at most 256.
  std::size_t below(std::size_t count) { return byte() % count; }
  template <typename Value, std::size_t COUNT>
  const Value& oneOf(const Value (&pool)[COUNT]) {
    return pool[below(COUNT)];
  }
  /// A number of 32 bits: a usual one, one at an edge, or any.
  int number() {
    static constexpr int USUAL[] = {0,          1,     2,  3,          100,     200,        300,
                                    1000,       10000, -1, -100,       1000000, 2147483647, -2147483647,
                                    1073741824, 65536, 99, 1763683200, 500,     700};
    const std::uint8_t choice = byte();
    if (choice < 240) return USUAL[choice % std::size(USUAL)];
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8U | byte();
    return static_cast<int>(value);
  }
  /// So many of the bytes that come.
  std::string_view take(std::size_t count) {
    const std::string_view taken = m_rest.substr(0, count);
    m_rest.remove_prefix(taken.size());
    return taken;
  }
  std::string_view rest() { return take(m_rest.size()); }
  /// Up to a byte 0 or the end.
  std::string_view text() {
    const std::string_view taken = take(m_rest.find('\0'));
    take(1);
    return taken;
  }

 private:
  std::string_view m_rest;
};

/// Ends the program with a word: the fuzzer keeps the input. For what holds of every input.
[[noreturn]] void fail(const std::string& what);
inline void require(bool holds, const char* what) {
  if (!holds) fail(what);
}

/// A folder of this process alone, empty at first, which goes with it.
const std::filesystem::path& folder();
/// Removes what lies in it.
void emptyFolder();
/// Writes a file into it; gives its path.
std::string writeFile(const char* name, std::string_view bytes);

}  // namespace fuzz
