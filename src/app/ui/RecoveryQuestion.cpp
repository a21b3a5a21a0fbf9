#include "app/ui/RecoveryQuestion.h"

#include "app/Quillfen_AppDelegate.h"
#include "store/EntityDescription.h"

#include <QCoreApplication>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>

namespace qf {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("RecoveryQuestion", text);
}

QString noun(const EntityDescription& entity)
{
    const ManagedObjectModel& model = ManagedObjectModel::shared();
    if (&entity == &model.trans())
        return tr("transaction");
    if (&entity == &model.vault())
        return tr("sidebar item");
    if (&entity == &model.attachment())
        return tr("attachment");
    if (&entity == &model.budget())
        return tr("budget line");
    if (&entity == &model.smart())
        return tr("smart folder rule");
    return tr("photo");
}

// The record's title as the change has it, else as the ledger holds it; empty
// for entities without one.
QString titleOf(const RecordChange& change, Quillfen_AppDelegate& delegate)
{
    const EntityDescription& entity = *change.entity;
    int titleIndex = -1;
    for (QStringView key : {u"trans_title", u"vault_title", u"attachment_title"}) {
        if (titleIndex < 0)
            titleIndex = entity.indexOfAttribute(key);
    }
    if (titleIndex < 0)
        return {};
    for (const auto& [attribute, value] : change.values) {
        if (attribute == titleIndex)
            return value.toString();
    }
    const auto held = delegate.fetchObjectsWithEntityName(entity.name(), entity.attributes().front().name,
                                                         Value(change.uniqueID));
    return held.empty() ? QString() : held.front()->primitiveValue(titleIndex).toString();
}

} // namespace

QString RecoveryQuestion::describe(const UnsavedChanges& changes, Quillfen_AppDelegate& delegate, int maxLines)
{
    QStringList lines;
    const auto& all = changes.changes();
    for (std::size_t i = 0; i < all.size() && lines.size() < maxLines; ++i) {
        const RecordChange& change = all[i];
        const QString what = change.kind == RecordChange::Kind::Insert   ? tr("New %1")
                             : change.kind == RecordChange::Kind::Update ? tr("Changed %1")
                                                                         : tr("Deleted %1");
        const QString title = titleOf(change, delegate);
        QString line = what.arg(noun(*change.entity));
        if (!title.isEmpty())
            line += QStringLiteral(" “%1”").arg(title);
        lines << QStringLiteral("• ") + line;
    }
    const int rest = static_cast<int>(all.size()) - static_cast<int>(lines.size());
    if (rest == 1)
        lines << tr("and 1 more change");
    else if (rest > 1)
        lines << tr("and %1 more changes").arg(rest);
    return lines.join(QLatin1Char('\n'));
}

void RecoveryQuestion::ask(QWidget* parent, Quillfen_AppDelegate& delegate)
{
    if (!delegate.hasRecoveryFile())
        return;
    const QString path = QDir::toNativeSeparators(delegate.recoveryFilePath());
    Result<UnsavedChanges> recovered = delegate.readRecoveryFile();
    if (!recovered) {
        QMessageBox box(QMessageBox::Warning, tr("Unsaved Changes Could Not Be Read"),
                        tr("Quillfen kept changes it could not save when it last ended, but cannot read them now."),
                        QMessageBox::Ok, parent);
        box.setInformativeText(tr("The file is left as it is:\n%1").arg(path));
        box.setDetailedText(recovered.message());
        box.exec();
        return;
    }

    QMessageBox box(QMessageBox::Question, tr("Recover Unsaved Changes?"),
                    tr("Quillfen could not save your latest changes when it last ended, and kept them."),
                    QMessageBox::NoButton, parent);
    box.setInformativeText(tr("%1\n\nApply them to the ledger now, or set them aside: they then stay in a file beside "
                              "the ledger,\n%2")
                               .arg(describe(*recovered, delegate), path));
    QPushButton* apply = box.addButton(tr("Apply Changes"), QMessageBox::AcceptRole);
    QPushButton* setAside = box.addButton(tr("Set Aside"), QMessageBox::RejectRole);
    box.setDefaultButton(apply);
    box.exec();
    // Neither button: the program was ended meanwhile; ask again next time.
    if (box.clickedButton() == setAside) {
        if (Result<QString> aside = delegate.setAsideRecoveryFile(); !aside)
            QMessageBox::critical(parent, tr("Could Not Set the Changes Aside"), aside.message());
        return;
    }
    if (box.clickedButton() != apply)
        return;
    Result<ApplyReport> applied = delegate.applyRecoveredChanges(*recovered);
    if (!applied) {
        QMessageBox::critical(parent, tr("Could Not Apply the Changes"),
                              tr("%1\n\nThe file is kept, and the changes stay unsaved in the window.")
                                  .arg(applied.message()));
    } else if (applied->notFound > 0) {
        QMessageBox::information(parent, tr("Changes Applied"),
                                 tr("%1 of the changes concerned records that the ledger no longer holds; they were "
                                    "left out.")
                                     .arg(applied->notFound));
    }
}

} // namespace qf
