#include "planning/ui/BillCell.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/ui/CalendarPickerController.h"
#include "app/ui/ErrorController.h"
#include "common/AbsoluteTime.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/QFNSStringCategory.h"
#include "editing/TagsController.h"
#include "editing/TransactionRecords.h"
#include "planning/BillRecords.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/ui/IconLibrary.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QCompleter>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QStringListModel>
#include <QToolButton>
#include <QVBoxLayout>

namespace qf {

namespace {

const QStringList kRepeats{QStringLiteral("Never"),     QStringLiteral("Daily"),   QStringLiteral("Weekly"),
                           QStringLiteral("Bi-Weekly"), QStringLiteral("Monthly"), QStringLiteral("Yearly")};
const QStringList kTypes{QStringLiteral("Incoming"), QStringLiteral("Outgoing"), QStringLiteral("Transfer")};

QString text(const ManagedObject& bill, QStringView key)
{
    const Value value = bill.valueForKey(key);
    return value.isString() ? value.toString() : QString();
}

// Stored words stay the items' data; the shown titles are translated.
void fillWords(QComboBox* menu, const QStringList& words)
{
    for (const QString& word : words)
        menu->addItem(QCoreApplication::translate("qf::BillCell", qPrintable(word)), word);
}

} // namespace

BillCell::BillCell(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QFrame(parent), m_delegate(delegate), m_pages(new QStackedWidget(this))
{
    setObjectName(QStringLiteral("billCell"));
    setFrameShape(QFrame::NoFrame);
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);
    m_pages->addWidget(buildDisplay());
    m_pages->addWidget(buildEdit());
    auto* blank = new QLabel(tr("No Bills"), this);
    blank->setObjectName(QStringLiteral("blankRow"));
    blank->setAlignment(Qt::AlignCenter);
    blank->setEnabled(false);
    blank->setMinimumHeight(44);
    m_pages->addWidget(blank);
    showPage(2);
    applyStyle();
}

QWidget* BillCell::buildDisplay()
{
    auto* page = new QWidget(this);
    auto* grid = new QGridLayout(page);
    grid->setContentsMargins(10, 6, 10, 6);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(2);
    m_titleLabel = new QLabel(page);
    QFont bold = m_titleLabel->font();
    bold.setBold(true);
    m_titleLabel->setFont(bold);
    m_tagsLabel = new QLabel(page);
    m_tagsLabel->setForegroundRole(QPalette::PlaceholderText);
    m_detailLabel = new QLabel(page);
    m_detailLabel->setForegroundRole(QPalette::PlaceholderText);
    m_amountLabel = new QLabel(page);
    m_amountLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_amountLabel->setFont(bold);
    m_dateLabel = new QLabel(page);
    m_dateLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_statusLabel = new QLabel(page);
    m_statusLabel->setObjectName(QStringLiteral("billStatus"));
    m_statusLabel->setAlignment(Qt::AlignCenter);
    m_statusLabel->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    QFont small = m_statusLabel->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    m_statusLabel->setFont(small);
    grid->addWidget(m_titleLabel, 0, 0);
    grid->addWidget(m_amountLabel, 0, 1);
    grid->addWidget(m_statusLabel, 0, 2, 2, 1, Qt::AlignRight | Qt::AlignVCenter);
    grid->setColumnMinimumWidth(2, 86);
    grid->addWidget(m_tagsLabel, 1, 0);
    grid->addWidget(m_dateLabel, 1, 1);
    grid->addWidget(m_detailLabel, 2, 0, 1, 2);
    grid->setColumnStretch(0, 1);
    return page;
}

QWidget* BillCell::buildEdit()
{
    auto* page = new QWidget(this);
    auto* grid = new QGridLayout(page);
    grid->setContentsMargins(10, 6, 10, 6);
    grid->setHorizontalSpacing(6);
    m_title = new QLineEdit(page);
    m_title->setObjectName(QStringLiteral("billTitle"));
    m_title->setPlaceholderText(tr("Title"));
    m_tags = new QLineEdit(page);
    m_tags->setObjectName(QStringLiteral("billTags"));
    m_tags->setPlaceholderText(tr("Tags"));
    m_amount = new QLineEdit(page);
    m_amount->setObjectName(QStringLiteral("billAmount"));
    m_amount->setPlaceholderText(tr("Amount"));
    m_amount->setAlignment(Qt::AlignRight);
    m_date = new QLineEdit(page);
    m_date->setObjectName(QStringLiteral("billDate"));
    m_date->setPlaceholderText(tr("Due Date"));
    m_calendar = new QToolButton(page);
    m_calendar->setIcon(quillfenIcon(QStringLiteral("calendar")));
    m_calendar->setToolTip(tr("Choose a Date"));
    m_repeat = new QComboBox(page);
    m_repeat->setObjectName(QStringLiteral("billRepeat"));
    fillWords(m_repeat, kRepeats);
    m_type = new QComboBox(page);
    m_type->setObjectName(QStringLiteral("billType"));
    fillWords(m_type, kTypes);
    m_account = new QComboBox(page);
    m_account->setObjectName(QStringLiteral("billAccount"));
    m_from = new QComboBox(page);
    m_from->setObjectName(QStringLiteral("billFromAccount"));
    m_to = new QComboBox(page);
    m_to->setObjectName(QStringLiteral("billToAccount"));
    m_accountLabel = new QLabel(tr("Account:"), page);
    m_fromLabel = new QLabel(tr("From:"), page);
    m_toLabel = new QLabel(tr("To:"), page);
    auto* save = new QPushButton(tr("Save"), page);
    save->setObjectName(QStringLiteral("billSave"));
    save->setDefault(true);
    auto* cancel = new QPushButton(tr("Cancel"), page);
    cancel->setObjectName(QStringLiteral("billCancel"));

    grid->addWidget(m_title, 0, 0, 1, 3);
    grid->addWidget(m_tags, 0, 3, 1, 3);
    grid->addWidget(m_amount, 0, 6);
    auto* dateBox = new QHBoxLayout;
    dateBox->setSpacing(2);
    dateBox->addWidget(m_date);
    dateBox->addWidget(m_calendar);
    grid->addLayout(dateBox, 0, 7);
    auto* menus = new QHBoxLayout;
    menus->addWidget(new QLabel(tr("Repeat:"), page));
    menus->addWidget(m_repeat);
    menus->addWidget(new QLabel(tr("Type:"), page));
    menus->addWidget(m_type);
    menus->addWidget(m_accountLabel);
    menus->addWidget(m_account);
    menus->addWidget(m_fromLabel);
    menus->addWidget(m_from);
    menus->addWidget(m_toLabel);
    menus->addWidget(m_to);
    menus->addStretch();
    menus->addWidget(cancel);
    menus->addWidget(save);
    grid->addLayout(menus, 1, 0, 1, 8);
    grid->setColumnStretch(0, 1);
    grid->setColumnStretch(3, 1);

    m_completer = new QCompleter(new QStringListModel(this), this);
    m_completer->setWidget(m_tags);
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    connect(m_tags, &QLineEdit::textEdited, this, &BillCell::completeTags);
    connect(m_completer, qOverload<const QString&>(&QCompleter::activated), this, [this](const QString& tag) {
        const QString typed = m_tags->text();
        const qsizetype comma = typed.lastIndexOf(QLatin1Char(','));
        m_tags->setText(comma < 0 ? tag : typed.left(comma + 1) + QLatin1Char(' ') + tag);
    });

    connect(save, &QPushButton::clicked, this, &BillCell::save);
    connect(cancel, &QPushButton::clicked, this, &BillCell::cancel);
    for (QLineEdit* field : {m_title, m_tags, m_amount, m_date})
        connect(field, &QLineEdit::returnPressed, this, &BillCell::save);
    connect(m_type, &QComboBox::activated, this, &BillCell::changeType);
    connect(m_account, &QComboBox::activated, this, [this] {
        if (m_type->currentData().toString() == QLatin1String("Incoming"))
            changeIncomingAccount();
        else
            changeOutgoingAccount();
    });
    connect(m_from, &QComboBox::activated, this, &BillCell::changeFromAccount);
    connect(m_to, &QComboBox::activated, this, &BillCell::changeToAccount);
    connect(m_calendar, &QToolButton::clicked, this, [this] {
        const auto typed = m_delegate.shortDateFormatter().parse(m_date->text());
        const QDate shown = typed ? dateTimeFromAbsoluteTime(*typed).date() : QDate();
        CalendarPickerController::sharedInstance().showCalendarPickerWithDate(
            shown, m_calendar, [this](const QDate& picked, QWidget*) {
                m_date->setText(m_delegate.shortDateFormatter().format(absoluteTimeFromDateTime(picked.startOfDay())));
            });
    });
    return page;
}

void BillCell::showPage(int index)
{
    // Pages not shown must not size the row, or every row would be as tall
    // as the edit page.
    for (int i = 0; i < m_pages->count(); ++i)
        m_pages->widget(i)->setSizePolicy(i == index ? QSizePolicy::Preferred : QSizePolicy::Ignored,
                                          i == index ? QSizePolicy::Preferred : QSizePolicy::Ignored);
    m_pages->setCurrentIndex(index);
    m_pages->updateGeometry();
    updateGeometry();
}

void BillCell::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && m_state == State::Edit) {
        cancel();
        return;
    }
    QFrame::keyPressEvent(event);
}

void BillCell::applyStyle()
{
    // The style's alternate colour is too faint to part rows this tall. The
    // rule names this class only, so the fields inside keep their own look.
    const QPalette app = QApplication::palette();
    const QColor base = app.color(QPalette::Base);
    const QColor rest = m_alternate ? base.darker(106) : base;
    const QColor fill = m_selected ? app.color(QPalette::Highlight).lighter(175) : rest;
    setStyleSheet(QStringLiteral("qf--BillCell { background: %1; border-bottom: 1px solid %2; }")
                      .arg(fill.name(), base.darker(112).name()));
}

void BillCell::setAlternate(bool alternate)
{
    m_alternate = alternate;
    applyStyle();
}

void BillCell::setSelected(bool selected)
{
    m_selected = selected;
    applyStyle();
}

void BillCell::setBill(ManagedObject* bill)
{
    m_bill = bill;
    if (!bill) {
        m_state = State::Blank;
        showPage(2);
        return;
    }
    m_state = State::Display;
    showPage(0);
    updateDisplay();
}

void BillCell::updateDisplay()
{
    if (!m_bill || m_state != State::Display)
        return;
    // A bill shown without a type is an outgoing one from now on.
    if (text(*m_bill, u"trans_billType").isEmpty())
        m_bill->setValueForKey(u"trans_billType", Value(QStringLiteral("Outgoing")));
    const QString type = text(*m_bill, u"trans_billType");
    // A bill added and never saved has no title; the list's cards call it so too.
    const QString title = text(*m_bill, u"trans_title");
    m_titleLabel->setText(title.isEmpty() ? tr("Untitled") : title);
    m_titleLabel->setForegroundRole(title.isEmpty() ? QPalette::PlaceholderText : QPalette::WindowText);
    m_tagsLabel->setText(text(*m_bill, u"trans_keywords"));
    const double amount = m_bill->valueForKey(u"trans_amount").toDouble();
    m_amountLabel->setText(m_delegate.amountFormatter().format(amount));
    m_amountLabel->setStyleSheet(amount < 0 ? QStringLiteral("color: #B91C1C;") : QStringLiteral("color: #0F766E;"));
    const Value date = m_bill->valueForKey(u"trans_date");
    m_dateLabel->setText(date.isNull() ? QString() : m_delegate.shortDateFormatter().format(date.toDate()));

    auto accountTitle = [this](const QString& id) {
        ManagedObject* account = id.isEmpty() ? nullptr : m_delegate.fetchVaultObjectWithID(id);
        return account ? account->valueForKey(u"vault_title").toString() : tr("None");
    };
    QString where;
    if (type == QLatin1String("Transfer"))
        where = tr("%1 → %2").arg(accountTitle(text(*m_bill, u"trans_billFromAccountID")),
                                  accountTitle(text(*m_bill, u"trans_billToAccountID")));
    else
        where = accountTitle(text(*m_bill, u"trans_accountID"));
    const QString repeat = text(*m_bill, u"trans_reoccurrence");
    m_detailLabel->setText(QStringLiteral("%1 · %2 · %3")
                               .arg(tr(qPrintable(type)), repeat.isEmpty() ? tr("Never") : tr(qPrintable(repeat)), where));

    m_tagsLabel->setVisible(!m_tagsLabel->text().isEmpty());

    // The same pills as the transaction list's cards: a light wash of the
    // status colour behind its text.
    const QString status = m_bill->valueForKey(u"trans_status").toString();
    m_statusLabel->setText(tr(qPrintable(status)));
    QString colour = QStringLiteral("108, 108, 108");
    if (status == QLatin1String("Overdue"))
        colour = QStringLiteral("185, 28, 28");
    else if (status == QLatin1String("Due Today"))
        colour = QStringLiteral("180, 83, 9");
    m_statusLabel->setStyleSheet(
        QStringLiteral("border-radius: 8px; padding: 1px 8px; background: rgba(%1, 36); color: rgb(%1);").arg(colour));
}

void BillCell::fillAccountMenus()
{
    const auto accounts = m_delegate.fetchVaultObjectsWithType(VaultType::Account);
    for (QComboBox* menu : {m_account, m_from, m_to}) {
        menu->clear();
        menu->addItem(tr("None"), QString());
        for (ManagedObject* account : accounts)
            menu->addItem(account->valueForKey(u"vault_title").toString(),
                          account->valueForKey(u"vault_uniqueID").toString());
    }
    auto select = [](QComboBox* menu, const QString& id) {
        const int index = id.isEmpty() ? 0 : menu->findData(id);
        menu->setCurrentIndex(index < 0 ? 0 : index);
    };
    select(m_account, text(*m_bill, u"trans_accountID"));
    select(m_from, text(*m_bill, u"trans_billFromAccountID"));
    select(m_to, text(*m_bill, u"trans_billToAccountID"));
}

void BillCell::showAccountMenusForType()
{
    const bool transfer = m_type->currentData().toString() == QLatin1String("Transfer");
    m_accountLabel->setVisible(!transfer);
    m_account->setVisible(!transfer);
    for (QWidget* w : std::initializer_list<QWidget*>{m_fromLabel, m_from, m_toLabel, m_to})
        w->setVisible(transfer);
}

void BillCell::edit()
{
    if (!m_bill)
        return;
    m_filling = true;
    m_title->setText(text(*m_bill, u"trans_title"));
    m_tags->setText(text(*m_bill, u"trans_keywords"));
    const Value amount = m_bill->valueForKey(u"trans_amount");
    // A new bill opens with an empty amount, so Save asks for one.
    m_amount->setText(amount.isNull() ? QString() : m_delegate.amountFormatter().format(std::fabs(amount.toDouble())));
    const Value date = m_bill->valueForKey(u"trans_date");
    m_date->setText(date.isNull() ? QString() : m_delegate.shortDateFormatter().format(date.toDate()));
    const int repeat = m_repeat->findData(text(*m_bill, u"trans_reoccurrence"));
    m_repeat->setCurrentIndex(repeat < 0 ? 0 : repeat);
    m_type->setCurrentIndex(m_type->findData(BillRecords::billTypeOf(*m_bill)));
    fillAccountMenus();
    showAccountMenusForType();
    m_allTags = TagsController::keywordsOfTransactions(
        m_delegate.managedObjectContext()->objects(ManagedObjectModel::shared().trans()));
    m_filling = false;
    m_state = State::Edit;
    showPage(1);
    m_title->setFocus();
}

bool BillCell::save()
{
    if (!m_bill || m_state != State::Edit)
        return false;
    auto refuse = [](QWidget* field) {
        ErrorController::sharedInstance().displayErrorFromField(field);
        QApplication::beep();
        return false;
    };
    if (!QFNSStringCategory::isValidString(m_title->text()))
        return refuse(m_title);
    if (!QFNSStringCategory::isValidString(m_amount->text()))
        return refuse(m_amount);
    if (!QFNSStringCategory::isValidString(m_date->text()))
        return refuse(m_date);
    const auto amount = m_delegate.amountFormatter().parse(m_amount->text());
    if (!amount)
        return refuse(m_amount);
    const auto date = m_delegate.shortDateFormatter().parse(m_date->text());
    if (!date)
        return refuse(m_date);
    BillFields fields;
    fields.title = m_title->text();
    fields.keywords = TransactionRecords::keywordString(TransactionRecords::tagsFromTypedText(m_tags->text()));
    fields.amount = *amount;
    // The typed day keeps the bill's time of day, as the date field shows days only.
    const Value old = m_bill->valueForKey(u"trans_date");
    fields.date = *date;
    if (!old.isNull() && m_delegate.shortDateFormatter().format(old.toDate()) == m_date->text())
        fields.date = old.toDate();
    fields.reoccurrence = m_repeat->currentData().toString();
    fields.billType = m_type->currentData().toString();
    BillRecords::saveBill(*m_bill, fields);
    m_state = State::Display;
    showPage(0);
    updateDisplay();
    Q_EMIT saved(this);
    return true;
}

void BillCell::cancel()
{
    if (!m_bill)
        return;
    m_state = State::Display;
    showPage(0);
    updateDisplay();
}

void BillCell::changeType()
{
    if (!m_bill || m_filling)
        return;
    m_bill->setValueForKey(u"trans_billType", Value(m_type->currentData().toString()));
    showAccountMenusForType();
}

void BillCell::changeIncomingAccount()
{
    if (m_bill && !m_filling)
        BillRecords::setAccount(*m_bill, m_account->currentData().toString());
}

void BillCell::changeOutgoingAccount()
{
    if (m_bill && !m_filling)
        BillRecords::setAccount(*m_bill, m_account->currentData().toString());
}

void BillCell::changeFromAccount()
{
    if (m_bill && !m_filling)
        BillRecords::setFromAccount(*m_bill, m_from->currentData().toString());
}

void BillCell::changeToAccount()
{
    if (m_bill && !m_filling)
        BillRecords::setToAccount(*m_bill, m_to->currentData().toString());
}

void BillCell::completeTags()
{
    const QString typed = m_tags->text();
    const qsizetype comma = typed.lastIndexOf(QLatin1Char(','));
    const QString last = typed.mid(comma + 1).trimmed();
    const QStringList hints = last.isEmpty() ? QStringList() : BillRecords::tagCompletions(m_allTags, last);
    static_cast<QStringListModel*>(m_completer->model())->setStringList(hints);
    if (hints.isEmpty())
        m_completer->popup()->hide();
    else
        m_completer->complete();
}

void BillCell::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT clicked(this);
    QFrame::mousePressEvent(event);
}

void BillCell::mouseDoubleClickEvent(QMouseEvent* event)
{
    Q_EMIT doubleClicked(this);
    QFrame::mouseDoubleClickEvent(event);
}

} // namespace qf
