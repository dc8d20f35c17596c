// What a host loads as its panel, and what it refuses.
#include <QLibrary>

#include "TerminalRun.h"
#include "tc/PanelPlugin.h"

namespace {

class Plugin : public Terminal {
 protected:
  static QString errorOf(const QString& file, int hostInterface = TC::PANEL_INTERFACE) {
    const TC::SPanelPlugin plugin = TC::loadPanel(file, hostInterface);
    EXPECT_EQ(plugin.m_pCreate == nullptr, !plugin.m_strError.isEmpty());
    return plugin.m_strError;
  }
};

TEST_F(Plugin, OfAnotherInterfaceIsRefusedInWordsBeforeItIsLoaded) {
  QByteArray bytes = readFile(QStringLiteral(PBT_PLUGIN));
  const QByteArray mark = TC::PANEL_INTERFACE_MARK + QByteArray::number(TC::PANEL_INTERFACE);
  const int at = bytes.indexOf(mark);
  ASSERT_GE(at, 0);
  QFile newer("newer.so");
  ASSERT_TRUE(newer.open(QIODevice::WriteOnly));
  newer.write(bytes.replace(at, mark.size(), TC::PANEL_INTERFACE_MARK + QByteArray("2")));
  newer.close();
  EXPECT_EQ(errorOf("newer.so").toStdString(), "the panel newer.so has interface 2, this program was compiled with " +
                                                   std::to_string(TC::PANEL_INTERFACE));
  // A program that is newer than the panel and the library that it finds; an old program in front of newer ones.
  EXPECT_EQ(errorOf(PBT_PLUGIN, 7).toStdString(), "the panel " PBT_PLUGIN " has interface " +
                                                      std::to_string(TC::PANEL_INTERFACE) +
                                                      ", this program was compiled with 7");
  EXPECT_EQ(errorOf("newer.so", 2).toStdString(),
            "the panel newer.so has interface 2, the host library has " + std::to_string(TC::PANEL_INTERFACE));
  for (const char* file : {"newer.so", PBT_PLUGIN}) EXPECT_FALSE(QLibrary(file).isLoaded()) << file;

  EXPECT_EQ(errorOf("nowhere.so"), "cannot read the panel nowhere.so: No such file or directory");
  writeFile("text.so", "PanelBasketTasks interface of another kind");
  EXPECT_EQ(errorOf("text.so"), "text.so is not a panel");
  writeFile("half.so", "PanelBasketTasks interface 1");
  EXPECT_TRUE(errorOf("half.so").startsWith("cannot load the panel: ")) << errorOf("half.so").toStdString();
  EXPECT_EQ(errorOf(PBT_PLUGIN), "");
}

}  // namespace
