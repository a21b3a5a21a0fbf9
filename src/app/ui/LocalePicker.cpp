#include "app/ui/LocalePicker.h"

#include "app/LocaleChoices.h"

#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QVBoxLayout>

namespace qf {

namespace {

constexpr int kIdentifierRole = Qt::UserRole + 1;
constexpr int kSearchRole = Qt::UserRole + 2;

// Names are shown in the language of the desktop; "C" names none.
QString displayLanguage()
{
    const QString system = QLocale::system().name();
    return system == QLatin1String("C") || system == QLatin1String("POSIX") ? QStringLiteral("en_US") : system;
}

} // namespace

LocalePicker::LocalePicker(QWidget* parent)
    : QWidget(parent), m_model(new QStandardItemModel(this)), m_proxy(new QSortFilterProxyModel(this)),
      m_search(new QLineEdit(this)), m_list(new QListView(this))
{
    for (const LocaleChoice& choice : LocaleChoices::available(displayLanguage())) {
        auto* item = new QStandardItem(choice.displayName);
        item->setData(choice.identifier, kIdentifierRole);
        item->setData(QString(choice.displayName + QLatin1Char(' ') + choice.identifier), kSearchRole);
        item->setToolTip(choice.identifier);
        item->setEditable(false);
        m_model->appendRow(item);
    }
    m_proxy->setSourceModel(m_model);
    m_proxy->setFilterRole(kSearchRole);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);

    m_search->setPlaceholderText(tr("Search"));
    m_search->setClearButtonEnabled(true);
    m_search->setObjectName(QStringLiteral("localeSearch"));
    m_list->setModel(m_proxy);
    m_list->setObjectName(QStringLiteral("localeList"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setUniformItemSizes(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_search);
    layout->addWidget(m_list, 1);

    connect(m_search, &QLineEdit::textChanged, this, &LocalePicker::filter);
    connect(m_list, &QListView::clicked, this, &LocalePicker::rowChosen);
    connect(m_list, &QListView::activated, this, &LocalePicker::rowChosen);
    // Return in the search field takes the only match or the highlighted one.
    connect(m_search, &QLineEdit::returnPressed, this, [this] {
        const QModelIndex index = m_proxy->rowCount() == 1 ? m_proxy->index(0, 0) : m_list->currentIndex();
        if (index.isValid())
            rowChosen(index);
    });
}

int LocalePicker::visibleCount() const
{
    return m_proxy->rowCount();
}

void LocalePicker::setCurrentIdentifier(const QString& identifier)
{
    m_current = identifier;
    highlightCurrent();
}

bool LocalePicker::chooseIdentifier(const QString& identifier)
{
    const QModelIndexList found = m_model->match(m_model->index(0, 0), kIdentifierRole, identifier, 1, Qt::MatchExactly);
    if (found.isEmpty())
        return false;
    m_search->clear();
    rowChosen(m_proxy->mapFromSource(found.front()));
    return true;
}

void LocalePicker::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // Centring needs the list's real height, known only once it shows.
    highlightCurrent();
}

void LocalePicker::filter(const QString& text)
{
    m_proxy->setFilterFixedString(text.trimmed());
    highlightCurrent();
}

void LocalePicker::highlightCurrent()
{
    const QModelIndexList found =
        m_model->match(m_model->index(0, 0), kIdentifierRole, m_current, 1, Qt::MatchExactly);
    const QModelIndex index = found.isEmpty() ? QModelIndex() : m_proxy->mapFromSource(found.front());
    if (index.isValid()) {
        m_list->setCurrentIndex(index);
        m_list->scrollTo(index, QAbstractItemView::PositionAtCenter);
    } else {
        m_list->selectionModel()->clearSelection();
    }
}

void LocalePicker::rowChosen(const QModelIndex& proxyIndex)
{
    const QString identifier = proxyIndex.data(kIdentifierRole).toString();
    if (identifier.isEmpty())
        return;
    m_list->setCurrentIndex(proxyIndex);
    if (identifier == m_current)
        return;
    m_current = identifier;
    Q_EMIT localeChosen(identifier);
}

} // namespace qf
