#include "editing/TransMultiEditForm.h"

#include "common/AmountFormatter.h"
#include "common/QFNSStringCategory.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObject.h"

namespace qf {

namespace {

const QString keywordSeparator = QStringLiteral(", ");

bool isMissing(const Value& value)
{
    return value.isNull();
}

} // namespace

TransMultiEditForm::TransMultiEditForm(const AmountFormatter& amountFormatter)
    : m_amountFormatter(amountFormatter)
{
}

const QStringList& TransMultiEditForm::repeatTitles()
{
    static const QStringList titles{QStringLiteral("Never"),     QStringLiteral("Daily"),
                                    QStringLiteral("Weekly"),    QStringLiteral("Bi-Weekly"),
                                    QStringLiteral("Monthly"),   QStringLiteral("Yearly")};
    return titles;
}

Value TransMultiEditForm::valuesForKey(const std::vector<ManagedObject*>& records, QStringView key)
{
    if (records.empty())
        return {};
    const Value first = records.front()->valueForKey(key);
    if (isMissing(first) || (first.isString() && !QFNSStringCategory::isValidString(first.toString())))
        return {};
    for (const ManagedObject* record : records) {
        const Value value = record->valueForKey(key);
        if (isMissing(value))
            return {};
        // A text is only ever equal to a text, a number only to a number;
        // anything else (dates, data) passes unexamined.
        if (value.isString()) {
            if (!first.isString() || value.string() != first.string())
                return {};
        } else if (value.isNumeric()) {
            if (!first.isNumeric() || value.toDouble() != first.toDouble())
                return {};
        }
    }
    return first;
}

bool TransMultiEditForm::editTransObjects(const std::vector<ManagedObject*>& records,
                                          const std::vector<ManagedObject*>& accounts)
{
    if (records.empty())
        return false;
    m_records = records;
    m_accounts = AccountSelector(accounts);
    setupRepeat();
    setupPopups();
    setupValueForKey(u"trans_title", Field::Title);
    setupValueForKey(u"trans_amount", Field::Amount);
    setupValueForKey(u"trans_to", Field::To);
    setupValueForKey(u"trans_from", Field::From);
    setupValueForKey(u"trans_keywords", Field::Tags);
    setupValueForKey(u"trans_notes", Field::Notes);
    return true;
}

void TransMultiEditForm::setupValueForKey(QStringView key, Field field)
{
    const Value common = valuesForKey(m_records, key);
    QString& text = m_texts[int(field)];
    if (field == Field::Tags)
        m_tags.clear();
    if (common.isNull()) {
        text.clear();
        m_checked[int(field)] = false;
        return;
    }
    if (field == Field::Tags)
        m_tags = common.toString().split(keywordSeparator);
    else if (common.isNumeric())
        text = m_amountFormatter.format(common.toDouble());
    else
        text = common.toString();
    m_checked[int(field)] = true;
}

void TransMultiEditForm::setupPopups()
{
    const Value common = valuesForKey(m_records, u"trans_accountID");
    const bool found = !common.isNull() && m_accounts.selectID(common.toString());
    if (!found)
        m_accounts.selectNone();
    m_checked[int(Field::Account)] = found;
}

void TransMultiEditForm::setupRepeat()
{
    const Value common = valuesForKey(m_records, u"trans_reoccurrence");
    const QString title = common.toString();
    // A repeat title the selector does not offer leaves it on "Never".
    m_repeat = repeatTitles().contains(title) ? title : repeatTitles().front();
    m_checked[int(Field::Repeat)] = QFNSStringCategory::isValidString(common.isNull() ? QString() : title);
}

QString TransMultiEditForm::text(Field field) const
{
    if (field == Field::Tags)
        return m_tags.join(keywordSeparator);
    if (field == Field::Account)
        return m_accounts.selectedItem().title;
    if (field == Field::Repeat)
        return m_repeat;
    return m_texts[int(field)];
}

void TransMultiEditForm::textDidChange(Field field, const QString& text)
{
    if (field == Field::Account || field == Field::Repeat)
        return;
    if (field == Field::Tags)
        m_tags = text.isEmpty() ? QStringList() : text.split(keywordSeparator);
    else
        m_texts[int(field)] = text;
    m_checked[int(field)] = QFNSStringCategory::isValidString(text);
}

void TransMultiEditForm::tagsDidChange(const QStringList& tokens)
{
    textDidChange(Field::Tags, tokens.join(keywordSeparator));
}

void TransMultiEditForm::amountDidEndEditing()
{
    m_texts[int(Field::Amount)] = m_amountFormatter.format(adjustedAmount());
}

bool TransMultiEditForm::changeAccount(int index)
{
    if (!m_accounts.selectIndex(index))
        return false;
    m_checked[int(Field::Account)] = true;
    return true;
}

bool TransMultiEditForm::changeRepeat(const QString& title)
{
    if (!repeatTitles().contains(title))
        return false;
    m_repeat = title;
    m_checked[int(Field::Repeat)] = true;
    return true;
}

float TransMultiEditForm::adjustedAmount() const
{
    return float(m_amountFormatter.parseOrLeadingNumber(m_texts[int(Field::Amount)]));
}

void TransMultiEditForm::done()
{
    const auto textValue = [](const QString& text) { return Value(text.isNull() ? QStringLiteral("") : text); };
    const auto write = [this](Field field, QStringView key, const Value& value) {
        if (!isChecked(field))
            return;
        for (ManagedObject* record : m_records)
            record->setValueForKey(key, value);
    };
    write(Field::Title, u"trans_title", textValue(m_texts[int(Field::Title)]));
    write(Field::Amount, u"trans_amount", Value(double(adjustedAmount())));
    write(Field::To, u"trans_to", textValue(m_texts[int(Field::To)]));
    write(Field::From, u"trans_from", textValue(m_texts[int(Field::From)]));
    write(Field::Tags, u"trans_keywords", Value(TransactionRecords::keywordString(m_tags)));
    write(Field::Notes, u"trans_notes", textValue(m_texts[int(Field::Notes)]));
    // "None" carries no id, so a checked box with "None" clears the account.
    const QString accountID = m_accounts.selectedID();
    write(Field::Account, u"trans_accountID", accountID.isEmpty() ? Value() : Value(accountID));
    write(Field::Repeat, u"trans_reoccurrence", Value(m_repeat));
}

} // namespace qf
