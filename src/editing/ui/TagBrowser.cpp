#include "editing/ui/TagBrowser.h"

#include "editing/TagsController.h"
#include "editing/TransactionRecords.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

namespace qf {

TagBrowser::TagBrowser(QLineEdit& tagsField, QStringList keywords, QWidget* parent)
    : QFrame(parent, Qt::Popup), m_tagsField(tagsField), m_keywords(std::move(keywords)),
      m_search(new QLineEdit(this)), m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("tagBrowser"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    m_search->setPlaceholderText(tr("Search Tags"));
    m_search->setClearButtonEnabled(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(m_search);
    layout->addWidget(m_list);
    connect(m_search, &QLineEdit::textChanged, this, &TagBrowser::searchTags);
    connect(m_list, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) { chooseTag(item->text()); });
    connect(m_list, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { chooseTag(item->text()); });
    searchTags(QString());
}

void TagBrowser::showBelowField()
{
    resize(std::max(220, m_tagsField.width() / 2), 240);
    move(m_tagsField.mapToGlobal(QPoint(m_tagsField.width() - width(), m_tagsField.height())));
    show();
    m_search->setFocus();
}

void TagBrowser::searchTags(const QString& text)
{
    m_list->clear();
    m_list->addItems(TagsController::browseKeywords(m_keywords, text));
}

void TagBrowser::chooseTag(const QString& tag)
{
    QStringList tags = TransactionRecords::tagsFromTypedText(m_tagsField.text());
    if (!tags.contains(tag)) {
        tags.append(tag);
        m_tagsField.setText(TransactionRecords::keywordString(tags));
    }
    close();
}

} // namespace qf
