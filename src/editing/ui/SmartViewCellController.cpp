#include "editing/ui/SmartViewCellController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "editing/AccountSelector.h"
#include "editing/TagsController.h"
#include "editing/TransactionRecords.h"
#include "editing/ui/AccountPopup.h"
#include "editing/ui/FieldCompleter.h"
#include "store/VaultLibrary.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QToolButton>

#include <algorithm>

namespace qf {

namespace {

bool isTextField(const QString& field)
{
    return field == QLatin1String("Title") || field == QLatin1String("From") || field == QLatin1String("To") ||
           field == QLatin1String("Note");
}

// Dates read as the ledger's other dates do: in its locale, not the system's.
QDateTimeEdit* makeDatePicker(QWidget* parent, const Quillfen_AppDelegate& delegate)
{
    const QString localeID = delegate.shortDateFormatter().localeIdentifier();
    const QLocale locale = localeID.isEmpty() ? QLocale() : QLocale(localeID);
    auto* picker = new QDateTimeEdit(parent);
    picker->setLocale(locale);
    picker->setCalendarPopup(true);
    picker->setDisplayFormat(locale.dateFormat(QLocale::ShortFormat) + QLatin1Char(' ') +
                             locale.timeFormat(QLocale::ShortFormat));
    return picker;
}

// Stored titles as data, translated titles as text.
void fillTitles(QComboBox& popup, const QStringList& titles)
{
    const QSignalBlocker blocker(popup);
    popup.clear();
    for (const QString& title : titles)
        popup.addItem(SmartViewCellController::tr(qPrintable(title)), title);
}

void selectData(QComboBox& popup, const QString& data)
{
    const QSignalBlocker blocker(popup);
    popup.setCurrentIndex(std::max(0, popup.findData(data)));
}

} // namespace

SmartViewCellController::SmartViewCellController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_field(new QComboBox(this)), m_operand(new QComboBox(this)),
      m_text(new QLineEdit(this)), m_amountFirst(new QLineEdit(this)), m_amountSecond(new QLineEdit(this)),
      m_dateFirst(makeDatePicker(this, delegate)), m_dateSecond(makeDatePicker(this, delegate)), m_tags(new QLineEdit(this)),
      m_account(new QComboBox(this)), m_type(new QComboBox(this)), m_add(new QToolButton(this)),
      m_remove(new QToolButton(this))
{
    fillTitles(*m_field, SmartRule::fields());
    // The operator pop-up keeps one width for every field, so that the value
    // widgets of all rows line up.
    int longest = 0;
    for (const QString& field : SmartRule::fields()) {
        for (const QString& operand : SmartRule::operands(field))
            longest = std::max<int>(longest, tr(qPrintable(operand)).size());
    }
    m_operand->setMinimumContentsLength(longest);
    m_operand->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    fillAccountPopup(*m_account, AccountSelector(delegate.fetchVaultObjectsWithType(VaultType::Account)));
    const QStringList types = SmartRule::typeValues();
    for (int i = 0; i < types.size(); ++i) {
        if (i == 2) // the directions, then the states
            m_type->insertSeparator(m_type->count());
        m_type->addItem(tr(qPrintable(types[i])), types[i]);
    }
    for (QLineEdit* amount : {m_amountFirst, m_amountSecond}) {
        amount->setPlaceholderText(delegate.amountFormatter().format(0));
        connect(amount, &QLineEdit::editingFinished, this, [this, amount] { reformatAmount(*amount); });
    }
    m_tags->setPlaceholderText(tr("Tags, separated by commas"));
    m_tagsCompleter = new FieldCompleter(*m_tags, [](const QString& partial) {
        TagsController* tags = TagsController::sharedInstance();
        return tags ? tags->hintsForKeyword(partial) : QStringList();
    }, QLatin1Char(','));
    m_add->setText(QStringLiteral("+"));
    m_add->setToolTip(tr("Add a rule"));
    m_remove->setText(QStringLiteral("−"));
    m_remove->setToolTip(tr("Remove this rule"));

    m_field->setObjectName(QStringLiteral("smartField"));
    m_operand->setObjectName(QStringLiteral("smartOperand"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_field);
    layout->addWidget(m_operand);
    for (QWidget* value : std::initializer_list<QWidget*>{m_text, m_amountFirst, m_amountSecond, m_dateFirst,
                                                          m_dateSecond, m_tags, m_account, m_type})
        layout->addWidget(value, 1);
    layout->addWidget(m_remove);
    layout->addWidget(m_add);

    connect(m_field, &QComboBox::activated, this, [this] { keyChange(field()); });
    connect(m_operand, &QComboBox::activated, this, &SmartViewCellController::operandChange);
    connect(m_add, &QToolButton::clicked, this, &SmartViewCellController::addNewRule);
    connect(m_remove, &QToolButton::clicked, this, &SmartViewCellController::removeRule);
    keyChange(SmartRule::fields().front());
}

QString SmartViewCellController::field() const { return m_field->currentData().toString(); }

QString SmartViewCellController::operand() const { return m_operand->currentData().toString(); }

void SmartViewCellController::keyChange(const QString& field)
{
    selectData(*m_field, field);
    fillOperands(this->field());
    setupCleanView();
}

void SmartViewCellController::fillOperands(const QString& field) { fillTitles(*m_operand, SmartRule::operands(field)); }

void SmartViewCellController::setupCleanView()
{
    m_operand->setCurrentIndex(0);
    for (QLineEdit* line : {m_text, m_amountFirst, m_amountSecond, m_tags})
        line->clear();
    const QDateTime today = dateTimeFromAbsoluteTime(m_delegate.now());
    m_dateFirst->setDateTime(today);
    m_dateSecond->setDateTime(today);
    m_account->setCurrentIndex(0);
    m_type->setCurrentIndex(0);
    showValueWidgets();
}

void SmartViewCellController::operandChange()
{
    // "Is Empty" takes no tags, so none may linger out of sight.
    if (field() == QLatin1String("Tag") && operand() == QLatin1String("Is Empty"))
        m_tags->clear();
    showValueWidgets();
}

void SmartViewCellController::showValueWidgets()
{
    const QString key = field();
    const bool between = operand() == QLatin1String("Between");
    m_text->setVisible(isTextField(key));
    m_amountFirst->setVisible(key == QLatin1String("Amount"));
    m_amountSecond->setVisible(key == QLatin1String("Amount") && between);
    m_dateFirst->setVisible(key == QLatin1String("Date"));
    m_dateSecond->setVisible(key == QLatin1String("Date") && between);
    m_tags->setVisible(key == QLatin1String("Tag") && operand() != QLatin1String("Is Empty"));
    m_account->setVisible(key == QLatin1String("Account"));
    m_type->setVisible(key == QLatin1String("Type"));
}

double SmartViewCellController::amountOf(const QLineEdit& field) const
{
    return m_delegate.amountFormatter().parseOrLeadingNumber(field.text());
}

void SmartViewCellController::reformatAmount(QLineEdit& field)
{
    if (!field.text().isEmpty())
        field.setText(m_delegate.amountFormatter().format(amountOf(field)));
}

SmartRule SmartViewCellController::rule() const
{
    SmartRule rule;
    rule.uniqueID = m_uniqueID;
    rule.date = m_date;
    rule.key = field();
    rule.operand = operand();
    if (isTextField(rule.key)) {
        rule.stringValue = m_text->text();
    } else if (rule.key == QLatin1String("Amount")) {
        rule.amountFirst = amountOf(*m_amountFirst);
        rule.amountSecond = amountOf(*m_amountSecond);
    } else if (rule.key == QLatin1String("Date")) {
        rule.dateFirst = absoluteTimeFromDateTime(m_dateFirst->dateTime());
        rule.dateSecond = absoluteTimeFromDateTime(m_dateSecond->dateTime());
    } else if (rule.key == QLatin1String("Tag")) {
        rule.stringValue = TransactionRecords::tagsFromTypedText(m_tags->text()).join(QStringLiteral(", "));
    } else if (rule.key == QLatin1String("Account")) {
        rule.stringValue = m_account->currentData().toString();
    } else if (rule.key == QLatin1String("Type")) {
        rule.stringValue = m_type->currentData().toString();
    }
    return rule;
}

void SmartViewCellController::setRule(const SmartRule& rule)
{
    m_uniqueID = rule.uniqueID;
    m_date = rule.date;
    keyChange(rule.key);
    selectData(*m_operand, rule.operand);
    if (isTextField(field())) {
        m_text->setText(rule.stringValue);
    } else if (field() == QLatin1String("Amount")) {
        m_amountFirst->setText(m_delegate.amountFormatter().format(rule.amountFirst));
        m_amountSecond->setText(m_delegate.amountFormatter().format(rule.amountSecond));
    } else if (field() == QLatin1String("Date")) {
        m_dateFirst->setDateTime(dateTimeFromAbsoluteTime(rule.dateFirst));
        m_dateSecond->setDateTime(dateTimeFromAbsoluteTime(rule.dateSecond));
    } else if (field() == QLatin1String("Tag")) {
        m_tags->setText(rule.stringValue);
    } else if (field() == QLatin1String("Account")) {
        // No account, or one that is gone, shows as "None".
        selectData(*m_account, rule.stringValue);
    } else if (field() == QLatin1String("Type")) {
        selectData(*m_type, rule.stringValue);
    }
    operandChange();
}

} // namespace qf
