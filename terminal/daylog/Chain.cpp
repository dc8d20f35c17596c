#include "Chain.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <vector>

namespace daylog {
namespace {

class CSha256 {
 public:
  CSha256() : m_pContext(EVP_MD_CTX_new(), &EVP_MD_CTX_free) {
    if (!m_pContext || EVP_DigestInit_ex(m_pContext.get(), algorithm(), nullptr) != 1) fail();
  }

  CSha256& add(std::string_view bytes) {
    add(static_cast<std::int64_t>(bytes.size()));
    update(bytes.data(), bytes.size());
    return *this;
  }
  CSha256& add(const Hash& hash) {
    update(hash.data(), hash.size());
    return *this;
  }
  /// The same bytes on every machine.
  CSha256& add(std::int64_t number) {
    std::array<unsigned char, 8> bytes{};
    auto value = static_cast<std::uint64_t>(number);
    for (unsigned char& byte : bytes) {
      byte = static_cast<unsigned char>(value & 0xff);
      value >>= 8;
    }
    update(bytes.data(), bytes.size());
    return *this;
  }

  CSha256& addBytes(std::string_view bytes) {
    update(bytes.data(), bytes.size());
    return *this;
  }

  Hash take() {
    Hash hash{};
    if (EVP_DigestFinal_ex(m_pContext.get(), hash.data(), nullptr) != 1) fail();
    return hash;
  }

 private:
  /// Found once: EVP_sha256() is looked for anew at each hash.
  static const EVP_MD* algorithm() {
    static const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> SHA256(EVP_MD_fetch(nullptr, "SHA256", nullptr),
                                                                        &EVP_MD_free);
    return SHA256.get();
  }
  [[noreturn]] static void fail() { throw std::runtime_error("SHA-256 is not available"); }
  void update(const void* bytes, std::size_t size) {
    if (EVP_DigestUpdate(m_pContext.get(), bytes, size) != 1) fail();
  }

  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_pContext;
};

template <std::size_t Size>
std::string hex(const std::array<unsigned char, Size>& bytes) {
  const char* const digits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace

std::string toHex(const Hash& hash) { return hex(hash); }

/// A device has no end.
std::string contentHash(const std::string& path) {
  std::error_code none;
  if (!std::filesystem::is_regular_file(path, none)) return {};
  std::ifstream file(path, std::ios::binary);
  CSha256 hash;
  std::vector<char> piece(std::size_t{1} << 16);
  while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())) || file.gcount() > 0) {
    hash.addBytes({piece.data(), static_cast<std::size_t>(file.gcount())});
  }
  return file.is_open() && file.eof() ? toHex(hash.take()) : std::string();
}

std::string randomIdentifier() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) throw std::runtime_error("no random numbers");
  return hex(bytes);
}

Hash chainBegin(std::string_view chain, std::string_view identifier) {
  return CSha256().add(std::string_view("basket day log")).add(chain).add(identifier).take();
}

Hash chainNext(const Hash& before, const SEntry& entry) {
  return CSha256()
      .add(before)
      .add(entry.m_nNumber)
      .add(entry.m_nMsec)
      .add(std::string_view(entry.m_strKind))
      .add(std::string_view(entry.m_strBody))
      .take();
}

Hash chainNext(const Hash& before, std::int64_t number, const SMark& mark) {
  CSha256 hash;
  hash.add(before).add(number).add(mark.m_nMsec).add(static_cast<std::int64_t>(mark.m_nHash));
  // A mark without outputs hashes as it did before there were any.
  if (!mark.m_strOutputs.empty()) hash.add(std::string_view(mark.m_strOutputs));
  return hash.take();
}

Hash headOf(const Hash& entries, std::size_t entryCount, const Hash& marks, std::size_t markCount) {
  return CSha256()
      .add(entries)
      .add(static_cast<std::int64_t>(entryCount))
      .add(marks)
      .add(static_cast<std::int64_t>(markCount))
      .take();
}

}  // namespace daylog
