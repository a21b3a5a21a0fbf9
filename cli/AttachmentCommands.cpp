// Files kept with a transaction, as the editor's Files pane keeps them.

#include "LedgerCli.h"

#include "app/Quillfen_AppDelegate.h"
#include "attachments/AttachmentStaging.h"
#include "store/ManagedObjectContext.h"

#include <QFileInfo>

namespace qf::cli {

namespace {

std::vector<ManagedObject*> attachmentsOf(const ManagedObjectContext& context, const QString& transID)
{
    std::vector<ManagedObject*> found;
    for (ManagedObject* a : context.objects(ManagedObjectModel::shared().attachment())) {
        if (a->valueForKey(u"attachment_transParentID").toString() == transID)
            found.push_back(a);
    }
    return found;
}

QString describe(const std::vector<AttachmentFileFailure>& failures)
{
    QStringList lines;
    for (const AttachmentFileFailure& f : failures)
        lines << QStringLiteral("%1: %2").arg(f.path, f.message);
    return lines.join(QLatin1Char('\n'));
}

} // namespace

int LedgerCli::attach(const CommandLine& line)
{
    if (line.positional().size() < 2 || !line.unknownOptions({}).isEmpty())
        return fail(BadUsage, QStringLiteral("usage: attach TRANS_ID FILE..."));
    ManagedObject* transaction = recordWithID(line.positional().first());
    if (!transaction || &transaction->entity() != &ManagedObjectModel::shared().trans())
        return fail(Failure, QStringLiteral("no transaction with the ID \"%1\"").arg(line.positional().first()));
    // Every file is checked before any is copied: a bad one changes nothing.
    const QStringList files = line.positional().mid(1);
    for (const QString& file : files) {
        const QFileInfo info(file);
        if (!info.isFile() || !info.isReadable())
            return fail(Failure, QStringLiteral("%1 is not a file that can be read").arg(file));
    }
    const QString transID = transaction->valueForKey(u"trans_uniqueID").toString();
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    AttachmentStaging staging(m_delegate);
    staging.setTransID(transID);
    staging.setCurrentAttachments(attachmentsOf(context, transID));
    QStringList ids;
    for (const QString& file : files)
        ids << staging.addFileToDatabase(QFileInfo(file).absoluteFilePath()).at(QStringLiteral("attachment_uniqueID")).toString();
    if (const auto failures = staging.applyStagedChanges(); !failures.empty())
        return fail(Failure, describe(failures));
    for (const QString& id : ids)
        m_out << id << '\n';
    m_out.flush();
    return Success;
}

int LedgerCli::detach(const CommandLine& line)
{
    if (line.positional().size() != 1 || !line.unknownOptions({}).isEmpty())
        return fail(BadUsage, QStringLiteral("usage: detach ATTACHMENT_ID"));
    const QString id = line.positional().first();
    ManagedObject* attachment = recordWithID(id);
    if (!attachment || &attachment->entity() != &ManagedObjectModel::shared().attachment())
        return fail(Failure, QStringLiteral("no attachment with the ID \"%1\"").arg(id));
    const QString transID = attachment->valueForKey(u"attachment_transParentID").toString();
    AttachmentStaging staging(m_delegate);
    staging.setTransID(transID);
    staging.setCurrentAttachments(attachmentsOf(*m_delegate.managedObjectContext(), transID));
    if (!staging.removeAttachment(id))
        return fail(Failure, QStringLiteral("no attachment with the ID \"%1\"").arg(id));
    // The file goes to the Trash; one that cannot keeps its record.
    if (const auto failures = staging.applyStagedChanges(); !failures.empty())
        return fail(Failure, describe(failures));
    m_out << id << Qt::endl;
    return Success;
}

} // namespace qf::cli
