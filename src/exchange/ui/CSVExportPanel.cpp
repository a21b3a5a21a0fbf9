#include "exchange/ui/CSVExportPanel.h"

#include "exchange/CSVExportController.h"
#include "store/ManagedObject.h"

#include <QDebug>
#include <QFileDialog>

namespace qf {

QString CSVExportPanel::csvPath(const QString& chosen)
{
    return chosen.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive) ? chosen : chosen + QStringLiteral(".csv");
}

QFileDialog* CSVExportPanel::exportCSV(QWidget* parent, const RecordEnvironment& formats, const ManagedObject* vault,
                                       const std::vector<ManagedObject*>& transactions)
{
    auto* dialog = new QFileDialog(parent, QFileDialog::tr("Export CSV"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilter(QFileDialog::tr("CSV files (*.csv)"));
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    if (vault)
        dialog->selectFile(vault->valueForKey(u"vault_title").toString());
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog, [&formats, transactions](const QString& path) {
        if (Status written = CSVExportController::exportCSVWithPath(csvPath(path), transactions, formats); !written)
            qWarning().noquote() << written.message();
    });
    dialog->open();
    return dialog;
}

} // namespace qf
