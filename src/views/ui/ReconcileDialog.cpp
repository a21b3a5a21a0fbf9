#include "views/ui/ReconcileDialog.h"
#include "common/AbsoluteTime.h"

#include "views/ui/DateField.h"

#include <QDateEdit>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>

namespace qf {

namespace {


QDateTime toDateTime(AbsoluteTime t)
{
    return dateTimeFromAbsoluteTime(t);
}

AbsoluteTime toAbsolute(const QDateTime& dt)
{
    return absoluteTimeFromDateTime(dt);
}

QDateEdit* dateEdit(QWidget* parent, AbsoluteTime value)
{
    auto* edit = new QDateEdit(toDateTime(value).date(), parent);
    edit->setCalendarPopup(true);
    edit->setDisplayFormat(QLocale().dateFormat(QLocale::LongFormat));
    return edit;
}

bool runSheet(QDialog& dialog, QFormLayout* form)
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    form->addRow(buttons);
    dialog.setWindowModality(Qt::WindowModal);
    return dialog.exec() == QDialog::Accepted;
}

} // namespace

std::optional<AbsoluteTime> ReconcileDialog::askForDate(QWidget* parent, AbsoluteTime preset)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(QObject::tr("Reconcile"));
    auto* form = new QFormLayout(&dialog);
    form->addRow(new QLabel(QObject::tr("The date the transaction cleared:"), &dialog));
    QDateEdit* date = dateEdit(&dialog, preset);
    form->addRow(QObject::tr("Date:"), date);
    if (!runSheet(dialog, form))
        return std::nullopt;
    // The picked day keeps the transaction's time of day.
    QDateTime picked = toDateTime(preset);
    picked.setDate(date->date());
    return toAbsolute(picked);
}

std::optional<std::pair<AbsoluteTime, AbsoluteTime>> ReconcileDialog::askForRange(QWidget* parent, AbsoluteTime from,
                                                                                 AbsoluteTime to)
{
    QDialog dialog(parent);
    dialog.setWindowTitle(QObject::tr("Custom Range"));
    auto* form = new QFormLayout(&dialog);
    auto* fromField = new DateField(toDateTime(from).date(), &dialog);
    auto* toField = new DateField(toDateTime(to).date(), &dialog);
    fromField->setObjectName(QStringLiteral("rangeFrom"));
    toField->setObjectName(QStringLiteral("rangeTo"));
    fromField->setMinimumWidth(240);
    form->addRow(QObject::tr("From:"), fromField);
    form->addRow(QObject::tr("To:"), toField);
    if (!runSheet(dialog, form))
        return std::nullopt;
    return std::make_pair(toAbsolute(fromField->date().startOfDay()), toAbsolute(toField->date().startOfDay()));
}

} // namespace qf
