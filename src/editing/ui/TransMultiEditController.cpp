#include "editing/ui/TransMultiEditController.h"

#include "app/Quillfen_AppDelegate.h"
#include "editing/TagsController.h"
#include "editing/TransactionRecords.h"
#include "editing/ui/AccountPopup.h"
#include "editing/ui/FieldCompleter.h"
#include "store/VaultLibrary.h"
#include "views/ui/LibraryController.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qf {

namespace {

const char* const kFieldNames[] = {QT_TRANSLATE_NOOP("TransMultiEditController", "Title"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "Amount"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "To"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "From"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "Tags"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "Notes"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "Account"),
                                   QT_TRANSLATE_NOOP("TransMultiEditController", "Repeat")};
const char* const kObjectNames[] = {"title", "amount", "to", "from", "tags", "notes", "account", "repeat"};

// The tag line holds tokens apart by commas, typed with or without spaces.
QStringList tagTokens(const QString& text)
{
    QStringList tokens;
    for (const QString& piece : text.split(QLatin1Char(','))) {
        const QString token = piece.trimmed();
        if (!token.isEmpty())
            tokens.append(token);
    }
    return tokens;
}

} // namespace

TransMultiEditController::TransMultiEditController(Quillfen_AppDelegate& delegate, LibraryController* list,
                                                   QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_list(list), m_form(delegate.amountFormatter()),
      m_heading(new QLabel(this)), m_account(new QComboBox(this)), m_repeat(new QComboBox(this))
{
    setWindowTitle(tr("Edit Transactions"));
    setWindowModality(Qt::WindowModal);

    m_heading->setWordWrap(true);
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(12);
    for (int i = 0; i < TransMultiEditForm::FieldCount; ++i) {
        const auto field = Field(i);
        auto* box = new QCheckBox(tr(kFieldNames[i]), this);
        box->setObjectName(QString::fromLatin1(kObjectNames[i]) + QStringLiteral("Box"));
        connect(box, &QCheckBox::clicked, this, [this, field](bool checked) { m_form.setChecked(field, checked); });
        m_boxes[i] = box;
        grid->addWidget(box, i, 0);
        QWidget* input = nullptr;
        if (i < TextFieldCount) {
            auto* text = new QLineEdit(this);
            connect(text, &QLineEdit::textEdited, this, [this, field] { textDidChange(field); });
            m_texts[i] = text;
            input = text;
        } else {
            input = field == Field::Account ? m_account : m_repeat;
        }
        input->setObjectName(QString::fromLatin1(kObjectNames[i]));
        grid->addWidget(input, i, 1);
    }
    textField(Field::Tags)->setPlaceholderText(tr("Tags, separated by commas"));
    connect(textField(Field::Amount), &QLineEdit::editingFinished, this,
            &TransMultiEditController::amountDidEndEditing);

    for (const QString& title : TransMultiEditForm::repeatTitles())
        m_repeat->addItem(tr(qPrintable(title)), title);
    connect(m_account, &QComboBox::activated, this, [this](int index) {
        m_form.changeAccount(index);
        showBox(Field::Account);
    });
    connect(m_repeat, &QComboBox::activated, this, [this](int index) {
        m_form.changeRepeat(m_repeat->itemData(index).toString());
        showBox(Field::Repeat);
    });

    m_titleCompleter = new FieldCompleter(*textField(Field::Title), [this](const QString& partial) {
        return TransactionRecords::hintsForKey(m_delegate.fetchAllTransObjects(), u"trans_title", partial, 0);
    });
    m_tagsCompleter = new FieldCompleter(*textField(Field::Tags), [this](const QString& partial) {
        TagsController* tags = TagsController::sharedInstance();
        return tags ? tags->completionsForSubstring(textField(Field::Tags), partial) : QStringList();
    }, QLatin1Char(','));
    connect(m_titleCompleter, &FieldCompleter::completed, this, [this] { textDidChange(Field::Title); });
    connect(m_tagsCompleter, &FieldCompleter::completed, this, [this] { textDidChange(Field::Tags); });

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Done"));
    connect(buttons, &QDialogButtonBox::accepted, this, qOverload<>(&TransMultiEditController::done));
    connect(buttons, &QDialogButtonBox::rejected, this, &TransMultiEditController::cancel);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_heading);
    layout->addSpacing(6);
    layout->addLayout(grid);
    layout->addWidget(buttons);
    setMinimumWidth(440);
}

QLineEdit* TransMultiEditController::textField(Field field) const
{
    return int(field) < TextFieldCount ? m_texts[int(field)] : nullptr;
}

bool TransMultiEditController::editTransObjects(const std::vector<ManagedObject*>& records)
{
    if (!m_form.editTransObjects(records, m_delegate.fetchVaultObjectsWithType(VaultType::Account)))
        return false;
    if (TagsController* tags = TagsController::sharedInstance())
        tags->setTagsTokenField(textField(Field::Tags));
    const QString title = records.size() == 1 ? tr("Edit 1 Transaction") : tr("Edit %1 Transactions").arg(records.size());
    m_heading->setText(QStringLiteral("<b>%1</b><br>%2").arg(title, tr("Checked fields are written to each of them.")));
    setupFields();
    textField(Field::Title)->setFocus();
    open();
    return true;
}

void TransMultiEditController::setupFields()
{
    for (int i = 0; i < TextFieldCount; ++i)
        m_texts[i]->setText(m_form.text(Field(i)));
    fillAccountPopup(*m_account, m_form.accounts());
    m_repeat->setCurrentIndex(m_repeat->findData(m_form.repeat()));
    for (int i = 0; i < TransMultiEditForm::FieldCount; ++i)
        showBox(Field(i));
}

void TransMultiEditController::showBox(Field field)
{
    m_boxes[int(field)]->setChecked(m_form.isChecked(field));
}

void TransMultiEditController::textDidChange(Field field)
{
    const QString text = textField(field)->text();
    if (field == Field::Tags)
        m_form.tagsDidChange(tagTokens(text));
    else
        m_form.textDidChange(field, text);
    showBox(field);
}

void TransMultiEditController::amountDidEndEditing()
{
    // An amount left empty stays empty rather than reading as zero beside an
    // unchecked box.
    QLineEdit* amount = textField(Field::Amount);
    if (amount->text().isEmpty())
        return;
    m_form.amountDidEndEditing();
    amount->setText(m_form.text(Field::Amount));
}

void TransMultiEditController::done()
{
    m_form.done();
    accept();
    if (m_list)
        m_list->refresh();
}

} // namespace qf
