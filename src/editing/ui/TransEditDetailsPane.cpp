#include "editing/ui/TransEditDetailsPane.h"

#include "editing/TransactionRecords.h"
#include "views/ui/IconLibrary.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QToolButton>

namespace qf {

namespace {

constexpr int kMarkerRoom = 26;

// Setting a line edit's text moves its cursor and clears its undo steps;
// an unchanged field is left alone.
void setTextIfChanged(QLineEdit* field, const QString& text)
{
    if (field->text() != text)
        field->setText(text);
}

void selectData(QComboBox* box, const QString& data)
{
    const int index = box->findData(data);
    box->setCurrentIndex(index < 0 ? 0 : index);
}

} // namespace

TransEditDetailsPane::TransEditDetailsPane(QWidget* parent)
    : QWidget(parent), m_type(new QComboBox(this)), m_repeat(new QComboBox(this)), m_account(new QComboBox(this)),
      m_pending(new QCheckBox(tr("Pending"), this)),
      m_calendarEvent(new QCheckBox(tr("Add an event to my calendar"), this)),
      m_title(lineEdit(QStringLiteral("transTitle"), tr("What was it for?"))),
      m_amount(lineEdit(QStringLiteral("transAmount"), tr("Amount"))),
      m_date(lineEdit(QStringLiteral("transDate"), tr("Date"))), m_calendarButton(new QToolButton(this)),
      m_to(lineEdit(QStringLiteral("transTo"), tr("Payee"))),
      m_from(lineEdit(QStringLiteral("transFrom"), tr("Payer"))),
      m_tags(lineEdit(QStringLiteral("transTags"), tr("Tags, separated by commas"))),
      m_tagsButton(new QToolButton(this)),
      m_notes(new QPlainTextEdit(this))
{
    m_type->setObjectName(QStringLiteral("transType"));
    for (const char* type : {QT_TR_NOOP("Incoming"), QT_TR_NOOP("Outgoing")})
        m_type->addItem(tr(type), QString::fromLatin1(type));
    m_repeat->setObjectName(QStringLiteral("transRepeat"));
    for (const QString& repeat : TransEditForm::repeatTitles())
        m_repeat->addItem(tr(qPrintable(repeat)), repeat);
    m_account->setObjectName(QStringLiteral("transAccount"));
    m_account->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_pending->setObjectName(QStringLiteral("transPending"));
    m_calendarEvent->setObjectName(QStringLiteral("transCalendarEvent"));
    m_calendarEvent->hide();
    m_calendarButton->setObjectName(QStringLiteral("calendarButton"));
    m_calendarButton->setIcon(quillfenIcon(QStringLiteral("calendar")));
    m_calendarButton->setToolTip(tr("Choose a date"));
    m_notes->setObjectName(QStringLiteral("transNotes"));
    m_notes->setPlaceholderText(tr("Notes"));
    m_notes->setTabChangesFocus(true);
    m_amount->setAlignment(Qt::AlignRight);

    auto* amountRow = new QHBoxLayout;
    amountRow->setSpacing(6);
    // The type comes first so that the error marker beside the amount
    // covers nothing.
    amountRow->addWidget(m_type);
    amountRow->addWidget(m_amount, 1);
    auto* dateRow = new QHBoxLayout;
    dateRow->setSpacing(4);
    dateRow->addWidget(m_date, 1);
    dateRow->addWidget(m_calendarButton);
    m_tagsButton->setObjectName(QStringLiteral("tagsButton"));
    m_tagsButton->setText(tr("Tags…"));
    m_tagsButton->setToolTip(tr("Choose from the tags in use"));
    auto* tagsRow = new QHBoxLayout;
    tagsRow->setSpacing(4);
    tagsRow->addWidget(m_tags, 1);
    tagsRow->addWidget(m_tagsButton);
    auto* boxes = new QHBoxLayout;
    boxes->setSpacing(16);
    boxes->addWidget(m_pending);
    boxes->addWidget(m_calendarEvent);
    boxes->addStretch(1);

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(16, 16, 16, 12);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(8);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    auto label = [this](const QString& text, QWidget* buddy) {
        auto* l = new QLabel(text, this);
        l->setBuddy(buddy);
        l->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        return l;
    };
    // Two label-and-field pairs a row; a span of 3 takes the whole row.
    struct Cell {
        const char* label;
        QWidget* buddy;
        QLayout* layout; // the field with its buttons, when it has any
        int row;
        int column;
        int span;
    };
    const Cell cells[] = {{QT_TR_NOOP("&Title:"), m_title, nullptr, 0, 0, 3},
                          {QT_TR_NOOP("&Amount:"), m_amount, amountRow, 1, 0, 1},
                          {QT_TR_NOOP("&Date:"), m_date, dateRow, 1, 2, 1},
                          {QT_TR_NOOP("Acc&ount:"), m_account, nullptr, 2, 0, 1},
                          {QT_TR_NOOP("&Repeat:"), m_repeat, nullptr, 2, 2, 1},
                          {QT_TR_NOOP("T&o:"), m_to, nullptr, 3, 0, 1},
                          {QT_TR_NOOP("&From:"), m_from, nullptr, 3, 2, 1},
                          {QT_TR_NOOP("Ta&gs:"), m_tags, tagsRow, 4, 0, 3}};
    for (const Cell& cell : cells) {
        QLabel* cellLabel = label(tr(cell.label), cell.buddy);
        // Room for the error marker beside the fields on the left.
        if (cell.column > 0)
            cellLabel->setContentsMargins(kMarkerRoom, 0, 0, 0);
        grid->addWidget(cellLabel, cell.row, cell.column);
        if (cell.layout)
            grid->addLayout(cell.layout, cell.row, cell.column + 1, 1, cell.span);
        else
            grid->addWidget(cell.buddy, cell.row, cell.column + 1, 1, cell.span);
    }
    grid->addLayout(boxes, 5, 1, 1, 3);
    auto* notesLabel = label(tr("&Notes:"), m_notes);
    notesLabel->setAlignment(Qt::AlignRight | Qt::AlignTop);
    grid->addWidget(notesLabel, 6, 0);
    grid->addWidget(m_notes, 6, 1, 1, 3);
    grid->setRowStretch(6, 1);

    setTabOrder(m_title, m_type);
    setTabOrder(m_type, m_amount);
    setTabOrder(m_amount, m_date);
    setTabOrder(m_date, m_calendarButton);
    setTabOrder(m_calendarButton, m_account);
    setTabOrder(m_account, m_repeat);
    setTabOrder(m_repeat, m_to);
    setTabOrder(m_to, m_from);
    setTabOrder(m_from, m_tags);
    setTabOrder(m_tags, m_tagsButton);
    setTabOrder(m_tagsButton, m_pending);
    setTabOrder(m_pending, m_calendarEvent);
    setTabOrder(m_calendarEvent, m_notes);

    connect(m_type, &QComboBox::activated, this, &TransEditDetailsPane::typeChanged);
    connect(m_pending, &QCheckBox::clicked, this, &TransEditDetailsPane::pendingToggled);
    connect(m_amount, &QLineEdit::editingFinished, this, &TransEditDetailsPane::amountEditingFinished);
    connect(m_date, &QLineEdit::editingFinished, this, &TransEditDetailsPane::dateEditingFinished);
    connect(m_calendarButton, &QToolButton::clicked, this, &TransEditDetailsPane::calendarRequested);
    connect(m_tagsButton, &QToolButton::clicked, this, &TransEditDetailsPane::tagsRequested);
}

QLineEdit* TransEditDetailsPane::lineEdit(const QString& objectName, const QString& placeholder)
{
    auto* field = new QLineEdit(this);
    field->setObjectName(objectName);
    field->setPlaceholderText(placeholder);
    return field;
}

void TransEditDetailsPane::setupAccounts(const std::vector<AccountChoice>& accounts)
{
    m_account->clear();
    m_account->addItem(tr("None"), QString());
    if (!accounts.empty())
        m_account->insertSeparator(1);
    for (const AccountChoice& account : accounts)
        m_account->addItem(account.title, account.uniqueID);
}

void TransEditDetailsPane::showFields(const TransEditFields& fields)
{
    selectData(m_type, fields.type);
    selectData(m_repeat, fields.repeat);
    selectData(m_account, fields.accountID);
    m_pending->setChecked(fields.pending);
    m_calendarEvent->setChecked(fields.calendarEvent);
    m_calendarEvent->setVisible(fields.pending);
    setTextIfChanged(m_title, fields.title);
    setTextIfChanged(m_amount, fields.amount);
    setTextIfChanged(m_date, fields.date);
    setTextIfChanged(m_to, fields.to);
    setTextIfChanged(m_from, fields.from);
    // The tags field keeps what the user typed while it reads as the same
    // tokens ("Food,Rent" stays until the next open).
    if (TransactionRecords::tagsFromTypedText(m_tags->text()) != fields.tags)
        m_tags->setText(TransactionRecords::keywordString(fields.tags));
    if (m_notes->toPlainText() != fields.notes)
        m_notes->setPlainText(fields.notes);
}

void TransEditDetailsPane::collectFields(TransEditFields& fields) const
{
    fields.type = m_type->currentData().toString();
    fields.repeat = m_repeat->currentData().toString();
    fields.accountID = m_account->currentData().toString();
    fields.pending = m_pending->isChecked();
    fields.calendarEvent = fields.pending && m_calendarEvent->isChecked();
    fields.title = m_title->text();
    fields.amount = m_amount->text();
    fields.date = m_date->text();
    fields.to = m_to->text();
    fields.from = m_from->text();
    fields.tags = TransactionRecords::tagsFromTypedText(m_tags->text());
    fields.notes = m_notes->toPlainText();
}

} // namespace qf
