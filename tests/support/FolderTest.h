/// Tests that work with files.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace test {

/// With a folder of its own, by whose files' names it works.
class CFolderTest : public testing::Test {
 protected:
  QString path(const QString& name) const { return m_folder.filePath(name); }
  QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden); }
  QByteArray contentOf(const QString& name) const {
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
  }
  void put(const QString& name, const QByteArray& content) const {
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
  }

  QTemporaryDir m_folder;
};

}  // namespace test
