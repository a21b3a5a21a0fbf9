// The commands that write the shown transactions out: CSV and the report page.

#include "LedgerCli.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "exchange/CSVExportController.h"
#include "exchange/PrintedReport.h"
#include "store/ManagedObject.h"

#include <QSaveFile>

namespace qf::cli {

int LedgerCli::exportCsv(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions(selectionOptions()); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("export-csv does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: export-csv FILE [selection]"));
    std::vector<ManagedObject*> shown;
    if (int code = select(line, &shown); code != Success)
        return code;
    if (Status written = CSVExportController::exportCSVWithPath(line.positional().first(), shown, m_delegate); !written)
        return fail(Failure, written.message());
    return Success;
}

int LedgerCli::report(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions(selectionOptions()); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("report does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: report FILE.html [selection] [--sort Title|Amount|Date|Tags]"));
    const auto sort = PrintedReport::sortFromTitle(line.value(QStringLiteral("sort"), QStringLiteral("Title")));
    if (!sort)
        return fail(BadUsage, QStringLiteral("--sort must be Title, Amount, Date or Tags"));
    std::vector<ManagedObject*> shown;
    if (int code = select(line, &shown); code != Success)
        return code;
    auto templates = PrintedReport::loadTemplates();
    if (!templates)
        return fail(Failure, templates.message());

    PrintedReport report(std::move(templates).value(), *m_delegate.managedObjectContext(),
                         m_delegate.amountFormatter().localeIdentifier());
    report.setSortType(*sort);
    const ManagedObject* vault = m_delegate.fetchVaultObjectWithID(m_delegate.selectedVaultID());
    const QString title = vault ? vault->valueForKey(u"vault_title").toString() : QString();
    const QByteArray page = report.pageHTML(title, shown, m_delegate.now()).toUtf8();

    const QString path = line.positional().first();
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(page) != page.size() || !file.commit())
        return fail(Failure, QStringLiteral("cannot write \"%1\": %2").arg(path, file.errorString()));
    return Success;
}

} // namespace qf::cli
