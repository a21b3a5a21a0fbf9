#pragma once

#include "exchange/CSVColumnMapping.h"

#include <QDialog>
#include <vector>

class QCheckBox;
class QPushButton;
class QTableWidget;

namespace qf {

class ManagedObject;

// The column-mapping sheet: for a comma-separated file, one row per column
// with its label, a sample cell and what the column should become. It stores
// nothing: Start does nothing yet and Cancel closes the sheet.
class CSVController : public QDialog {
    Q_OBJECT

public:
    enum Column { ImportColumn, LabelColumn, SampleColumn, ImportAsColumn };

    // The delegate is kept for the day the sheet imports; it is not called.
    explicit CSVController(QObject* delegate, QWidget* parent = nullptr);

    // Asks for a .csv file, then shows its columns with the header box off.
    void loadImportPanelWithVaultObject(ManagedObject* vault);
    // Asks where to export (proposing "QuillFen CSV Export"); an existing
    // file chosen there is shown as for an import. Nothing is written.
    void loadExportWithVaultObject(ManagedObject* vault);
    // Reads and keeps the file's text (UTF-8, or UTF-16 with its byte-order
    // mark) and shows the sheet. False when the file cannot be read.
    bool openCSVFile(const QString& path);

    // Lists the columns of the text's sample row and selects the first.
    void parseCSVString(const QString& text, CSVColumnMapping::Header header);
    // The header box's action: the kept text listed again.
    void firstRowIsHeader();
    void startImport();
    void cancelImport();

    // The rows as the user has set them.
    std::vector<CSVMappingRow> mappingRows() const;
    const QString& csvString() const { return m_csvString; }
    ManagedObject* vaultObject() const { return m_vaultObject; }
    QObject* delegate() const { return m_delegate; }
    QCheckBox* firstRowIsHeaderButton() const { return m_firstRowIsHeaderButton; }
    QTableWidget* columnsTable() const { return m_columns; }

private:
    QObject* m_delegate;
    ManagedObject* m_vaultObject = nullptr;
    QString m_csvString;
    std::vector<CSVMappingRow> m_rows;
    QCheckBox* m_firstRowIsHeaderButton;
    QTableWidget* m_columns;
    QPushButton* m_startButton;
};

} // namespace qf
