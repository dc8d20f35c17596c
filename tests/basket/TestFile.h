/// A file that lives as long as its test.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "TextTable.h"

class CTestFile {
 public:
  explicit CTestFile(const std::string& bytes)
      : m_strPath(std::filesystem::temp_directory_path() / "basket-test-XXXXXX") {
    const int handle = mkstemp(m_strPath.data());
    if (handle >= 0) close(handle);
    std::ofstream(m_strPath, std::ios::binary) << bytes;
  }
  ~CTestFile() { std::remove(m_strPath.c_str()); }
  CTestFile(const CTestFile&) = delete;
  CTestFile& operator=(const CTestFile&) = delete;

  const std::string& path() const { return m_strPath; }

  /// The faults as they are told, the file's name shortened to F.
  std::vector<std::string> told(const std::vector<basket::SFault>& faults) const {
    std::vector<std::string> texts;
    for (const basket::SFault& fault : faults) {
      const std::string text = fault.toString();
      EXPECT_EQ(text.substr(0, m_strPath.size()), m_strPath);
      texts.push_back(std::string("F").append(text, m_strPath.size()));
    }
    return texts;
  }

 private:
  std::string m_strPath;
};
