/// A file that lives as long as its test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "TextTable.h"

using Texts = std::vector<std::string>;

class CTestFile {
 public:
  explicit CTestFile(const std::string& bytes)
      : m_strPath(std::filesystem::temp_directory_path() / "basket-test-XXXXXX") {
    const int handle = mkstemp(m_strPath.data());
    if (handle >= 0) close(handle);
    std::ofstream(m_strPath, std::ios::binary) << bytes;
  }
  ~CTestFile() { std::filesystem::remove(m_strPath); }
  CTestFile(const CTestFile&) = delete;
  CTestFile& operator=(const CTestFile&) = delete;

  const std::string& path() const { return m_strPath; }

  /// The faults as they are told, the file's name shortened to F.
  Texts told(const std::vector<basket::SFault>& faults) const {
    Texts texts;
    for (const basket::SFault& fault : faults) {
      texts.push_back(fault.toString());
      EXPECT_TRUE(texts.back().starts_with(m_strPath)) << texts.back();
      texts.back().replace(0, m_strPath.size(), "F");
    }
    return texts;
  }

 private:
  std::string m_strPath;
};
