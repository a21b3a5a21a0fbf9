// The database package and the search records from the command line.

#include "LedgerCli.h"

#include "app/DatabasePackage.h"
#include "app/Quillfen_AppDelegate.h"

#include <QDir>
#include <QFileInfo>

namespace qf::cli {

int LedgerCli::exportDatabase(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("export-database does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: export-database PATH"));
    const QString path = QFileInfo(DatabasePackage::withExtension(line.positional().first())).absoluteFilePath();
    // The package holds what is on disk; this run has changed nothing.
    if (Status written = DatabasePackage::exportFolder(m_delegate.applicationSupportFolder(), path); !written)
        return fail(Failure, written.message());
    m_out << QDir::toNativeSeparators(path) << Qt::endl;
    return Success;
}

int LedgerCli::importDatabase(const CommandLine& line)
{
    if (QStringList unknown = line.unknownOptions({QStringLiteral("yes")}); !unknown.isEmpty())
        return fail(BadUsage, QStringLiteral("import-database does not take %1").arg(unknown.join(QStringLiteral(", "))));
    if (line.positional().size() != 1)
        return fail(BadUsage, QStringLiteral("usage: import-database PATH --yes"));
    if (!line.has(QStringLiteral("yes")))
        return fail(BadUsage, QStringLiteral("importing replaces the whole ledger and its attachments; add --yes to go ahead"));
    const auto replaced =
        DatabasePackage::importPackage(QFileInfo(line.positional().first()).absoluteFilePath(), m_delegate.applicationSupportFolder());
    if (!replaced)
        return fail(Failure, replaced.message());
    if (replaced->isEmpty())
        m_out << "imported; there was no earlier data" << Qt::endl;
    else
        m_out << "imported; the earlier data is in " << QDir::toNativeSeparators(*replaced) << Qt::endl;
    return Success;
}

int LedgerCli::reindex(const CommandLine& line)
{
    if (!line.positional().isEmpty() || !line.unknownOptions({}).isEmpty())
        return fail(BadUsage, QStringLiteral("usage: reindex"));
    m_out << m_delegate.reindexTransactions() << Qt::endl;
    return Success;
}

} // namespace qf::cli
