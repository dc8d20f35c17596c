/// The host's spreadsheet writer.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QTemporaryDir;

namespace GV {

/// Collects the cells of a spreadsheet and saves them in the format that the name's extension asks for. It has its name
/// from the component whose place it takes; it only writes. Any thread, one at a time.
class CExcelReader : public QObject {
 public:
  /// Is told how many rows of a workbook are written, of how many; false ends it.
  using SaveStep = std::function<bool(qint64 done, qint64 total)>;

  /// visible: whether the spreadsheet is to be shown while it is written; this one has nothing to show.
  explicit CExcelReader(bool visible, QObject* parent = nullptr);
  ~CExcelReader() override;

  /// How many rows a file of this name can hold.
  static int maxRows(const QString& fileName);

  /// False when the folder for intermediate files cannot be made; then every other operation answers false.
  bool isValid() const;
  /// Begins a spreadsheet without sheets; what was there is dropped.
  bool newfile();
  bool addSheet();
  /// Sheet, row and column count from 1. False for a sheet that is not there and for a place outside of a sheet.
  bool setData(int sheet, int row, int column, const QString& text);
  /// The same for the text of a figure in fixed notation, which becomes a number cell with as many decimals where the
  /// format knows numbers; any other text stays one.
  bool setNumber(int sheet, int row, int column, const QString& text);
  /// ".csv" and ".txt", in any case, are saved as separated text (comma resp. tab) in UTF-8 with every field quoted,
  /// the sheets below each other; every other name as an XLSX workbook. False, and no new file, when it could not be
  /// written as a whole; a file that was there stays then.
  bool saveAs(const QString& fileName, const SaveStep& step = {});

 private:
  struct SCell {
    std::string text;  ///< UTF-8
    bool number = false;
  };
  using Sheet = std::vector<std::vector<SCell>>;
  struct SWriter;

  bool put(int sheet, int row, int column, const QString& text, bool number);
  QByteArray separatedText(char separator) const;
  bool writeWorkbook(const QString& fileName, const SaveStep& step) const;

  std::unique_ptr<QTemporaryDir> m_folder;
  bool m_bOpen = false;
  std::vector<Sheet> m_sheets;
};

}  // namespace GV
