#pragma once

#include "common/Value.h"
#include "editing/AccountSelector.h"

#include <QString>
#include <QStringList>
#include <QStringView>
#include <array>
#include <vector>

namespace qf {

class AmountFormatter;
class ManagedObject;

// The state of the sheet that changes several transactions at once: eight
// fields, each with a box saying whether done() writes it. The sheet's
// widgets mirror this state and forward the user's edits to it.
class TransMultiEditForm {
public:
    enum class Field { Title, Amount, To, From, Tags, Notes, Account, Repeat };
    static constexpr int FieldCount = 8;

    // The formatter is borrowed and must outlive the form.
    explicit TransMultiEditForm(const AmountFormatter& amountFormatter);

    // The repeat selector's titles, "Never" first.
    static const QStringList& repeatTitles();

    // The value all records share for a key, null when they do not share
    // one. The first value must be present and, for a text, not empty; a
    // missing value or a differing text or number (numbers compare by value)
    // ends the walk with null. Values of other kinds are not compared.
    static Value valuesForKey(const std::vector<ManagedObject*>& records, QStringView key);

    // Does nothing and returns false for an empty selection. Otherwise keeps
    // the records and fills every field and box from their common values;
    // `accounts` are the account vaults in fetch order.
    bool editTransObjects(const std::vector<ManagedObject*>& records, const std::vector<ManagedObject*>& accounts);
    const std::vector<ManagedObject*>& transObjects() const { return m_records; }

    // Text of the title, amount, to, from and notes fields; the tags joined by ", ".
    QString text(Field field) const;
    const QStringList& tags() const { return m_tags; }
    bool isChecked(Field field) const { return m_checked[int(field)]; }
    void setChecked(Field field, bool checked) { m_checked[int(field)] = checked; }

    // The user changed a text field: its box follows whether the text is
    // present and not empty. For Tags the text is split at ", ".
    void textDidChange(Field field, const QString& text);
    void tagsDidChange(const QStringList& tokens);
    // Leaving the amount field re-shows it as adjustedAmount().
    void amountDidEndEditing();

    const AccountSelector& accounts() const { return m_accounts; }
    const QString& repeat() const { return m_repeat; }
    // Choosing an item checks the field's box; false for an item that cannot be chosen.
    bool changeAccount(int index);
    bool changeRepeat(const QString& title);

    // The amount text through the amount formatter, else its leading number;
    // the sign is the one typed. Single precision, as stored.
    float adjustedAmount() const;

    // Writes every checked field to every record, in the order of Field.
    // Nothing else is touched: no modification date, no repeat scheduling,
    // no save.
    void done();

private:
    void setupValueForKey(QStringView key, Field field);
    void setupPopups();
    void setupRepeat();

    const AmountFormatter& m_amountFormatter;
    std::vector<ManagedObject*> m_records;
    std::array<QString, FieldCount> m_texts;
    std::array<bool, FieldCount> m_checked{};
    QStringList m_tags;
    AccountSelector m_accounts;
    QString m_repeat = QStringLiteral("Never");
};

} // namespace qf
