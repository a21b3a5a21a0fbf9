#include "editing/ui/SmartRulesEditorController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/QFNSStringCategory.h"
#include "editing/SmartRule.h"
#include "editing/ui/SmartViewCellController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace qf {

SmartRulesEditorController::SmartRulesEditorController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_name(new QLineEdit(this)), m_condition(new QComboBox(this)),
      m_rowsLayout(new QVBoxLayout)
{
    setWindowTitle(tr("Smart Folder"));
    setWindowModality(Qt::WindowModal);
    m_name->setObjectName(QStringLiteral("smartName"));
    m_condition->addItem(tr("All"), QStringLiteral("All"));
    m_condition->addItem(tr("Any"), QStringLiteral("Any"));

    auto* nameRow = new QHBoxLayout;
    nameRow->addWidget(new QLabel(tr("Name:"), this));
    nameRow->addWidget(m_name, 1);
    auto* conditionRow = new QHBoxLayout;
    conditionRow->addWidget(new QLabel(tr("Match"), this));
    conditionRow->addWidget(m_condition);
    conditionRow->addWidget(new QLabel(tr("of the following rules:"), this));
    conditionRow->addStretch(1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &SmartRulesEditorController::smartOK);
    connect(buttons, &QDialogButtonBox::rejected, this, &SmartRulesEditorController::smartCancel);

    m_rowsLayout->setSpacing(4);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(nameRow);
    layout->addLayout(conditionRow);
    layout->addLayout(m_rowsLayout);
    layout->addStretch(1);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetMinimumSize);
    setMinimumWidth(640);
}

void SmartRulesEditorController::loadAddSmartPanel()
{
    m_vault = nullptr;
    removeAllRules();
    createNewController();
    open(QString(), QString());
}

void SmartRulesEditorController::loadEditSmartPanelWithVaultObject(ManagedObject& vault)
{
    m_vault = &vault;
    removeAllRules();
    for (const SmartRule& rule : SmartRules::rulesOfVault(vault))
        appendRow()->setRule(rule);
    if (m_rows.empty())
        createNewController();
    const QString title = vault.valueForKey(u"vault_title").toString();
    open(QFNSStringCategory::isValidString(title) ? title : QString(),
         vault.valueForKey(u"vault_smartCondition").toString());
}

void SmartRulesEditorController::open(const QString& name, const QString& condition)
{
    m_name->setText(name);
    m_condition->setCurrentIndex(condition == QLatin1String("Any") ? 1 : 0);
    updateRemoveButtons();
    m_name->setFocus();
    adjustSize();
    QDialog::open();
}

SmartViewCellController* SmartRulesEditorController::appendRow()
{
    auto* row = new SmartViewCellController(m_delegate, this);
    m_rowsLayout->addWidget(row);
    m_rows.push_back(row);
    connect(row, &SmartViewCellController::addNewRule, this, [this] {
        createNewController();
        updateRemoveButtons();
        adjustSize();
    });
    connect(row, &SmartViewCellController::removeRule, this, [this, row] { removeRule(row); });
    return row;
}

SmartViewCellController* SmartRulesEditorController::createNewController()
{
    SmartViewCellController* row = appendRow();
    SmartRule fresh = row->rule();
    fresh.date = m_delegate.now();
    // Rows added in the same instant still reopen in the order they were made.
    if (m_rows.size() > 1)
        fresh.date = std::max(fresh.date, m_rows[m_rows.size() - 2]->rule().date + 0.001);
    row->setRule(fresh);
    return row;
}

void SmartRulesEditorController::removeRule(SmartViewCellController* row)
{
    const auto it = std::find(m_rows.begin(), m_rows.end(), row);
    // The sheet always keeps one row to edit.
    if (it == m_rows.end() || m_rows.size() == 1)
        return;
    m_rows.erase(it);
    row->deleteLater();
    m_rowsLayout->removeWidget(row);
    row->hide();
    updateRemoveButtons();
    adjustSize();
}

void SmartRulesEditorController::removeAllRules()
{
    for (SmartViewCellController* row : m_rows) {
        m_rowsLayout->removeWidget(row);
        row->hide();
        row->deleteLater();
    }
    m_rows.clear();
}

void SmartRulesEditorController::updateRemoveButtons()
{
    for (SmartViewCellController* row : m_rows)
        row->removeButton()->setEnabled(m_rows.size() > 1);
}

void SmartRulesEditorController::smartOK()
{
    const QString name = m_name->text();
    if (!QFNSStringCategory::isValidString(name))
        return;
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* vault = m_vault;
    if (!vault) {
        vault = VaultLibrary::insertVault(context, m_delegate, VaultType::SmartPlaylist, name);
    }
    vault->setValueForKey(u"vault_title", Value(name));
    std::vector<SmartRule> rules;
    for (SmartViewCellController* row : m_rows)
        rules.push_back(row->rule());
    SmartRules::store(context, m_delegate, *vault, rules, m_condition->currentData().toString());
    // The rows now carry the ids of their records, so OK again reuses them.
    for (std::size_t i = 0; i < rules.size(); ++i)
        m_rows[i]->setRule(rules[i]);
    m_vault = vault;
    accept();
    if (Status saved = m_delegate.saveAction(); !saved)
        QMessageBox::critical(parentWidget(), tr("Could Not Save"), saved.message());
    Q_EMIT smartFolderEditingDone(vault);
}

} // namespace qf
