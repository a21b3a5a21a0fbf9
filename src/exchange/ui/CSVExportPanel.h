#pragma once

#include <QString>
#include <vector>

class QFileDialog;
class QWidget;

namespace qf {

class ManagedObject;
class RecordEnvironment;

// The Export CSV command: a save dialog titled "Export CSV" for .csv files
// only, proposing the vault's title, then the transactions written in the
// order given. Nothing is written on cancel, and a file that cannot be
// written is silently left as it was.
class CSVExportPanel {
public:
    // Opens the dialog as a sheet on the parent and returns it (it deletes
    // itself when closed). The transactions are copied.
    static QFileDialog* exportCSV(QWidget* parent, const RecordEnvironment& formats, const ManagedObject* vault,
                                  const std::vector<ManagedObject*>& transactions);
    // The chosen name with ".csv" appended unless it already ends so.
    static QString csvPath(const QString& chosen);
};

} // namespace qf
