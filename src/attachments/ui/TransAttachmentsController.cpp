#include "attachments/ui/TransAttachmentsController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AbsoluteTime.h"
#include "common/DateFormatter.h"
#include "store/ManagedObject.h"

#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QMimeData>
#include <QStandardItemModel>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

namespace qf {

namespace {

const Value& field(const ValueDictionary& row, const QString& key)
{
    static const Value missing;
    const auto it = row.find(key);
    return it == row.end() ? missing : it->second;
}

QStringList localFilesIn(const QMimeData* mime)
{
    QStringList files;
    if (!mime)
        return files;
    for (const QUrl& url : mime->urls())
        if (url.isLocalFile() && QFileInfo::exists(url.toLocalFile()))
            files << url.toLocalFile();
    return files;
}

} // namespace

TransAttachmentsController::TransAttachmentsController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_staging(delegate)
{
    m_searchField = new QLineEdit(this);
    m_searchField->setPlaceholderText(tr("Search"));
    m_searchField->setClearButtonEnabled(true);

    m_model = new QStandardItemModel(0, 2, this);
    m_model->setHorizontalHeaderLabels({tr("Title"), tr("Date Added")});
    m_tableView = new QTableView(this);
    m_tableView->setModel(m_model);
    m_tableView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_tableView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_tableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tableView->setAlternatingRowColors(true);
    m_tableView->setShowGrid(false);
    m_tableView->setWordWrap(false);
    m_tableView->verticalHeader()->hide();
    m_tableView->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tableView->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_tableView->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // Drops land on the pane, which takes them whatever part is under the cursor.
    m_tableView->setAcceptDrops(false);
    m_tableView->viewport()->setAcceptDrops(false);
    setAcceptDrops(true);

    m_addButton = new QToolButton(this);
    m_addButton->setText(QStringLiteral("+"));
    m_addButton->setToolTip(tr("Add files"));
    m_removeButton = new QToolButton(this);
    m_removeButton->setText(QStringLiteral("\u2212"));
    m_removeButton->setToolTip(tr("Remove the selected file"));

    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_addButton);
    bottom->addWidget(m_removeButton);
    bottom->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_searchField);
    layout->addWidget(m_tableView, 1);
    layout->addLayout(bottom);

    connect(m_searchField, &QLineEdit::textChanged, this, &TransAttachmentsController::search);
    connect(m_addButton, &QToolButton::clicked, this, &TransAttachmentsController::addAttachment);
    connect(m_removeButton, &QToolButton::clicked, this, &TransAttachmentsController::removeAttachment);
    connect(m_tableView, &QTableView::doubleClicked, this, &TransAttachmentsController::doubleClicked);
    connect(m_tableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TransAttachmentsController::updateButtons);
    updateButtons();
}

void TransAttachmentsController::setTransID(const QString& transID)
{
    m_staging.setTransID(transID);
}

void TransAttachmentsController::setCurrentAttachments(const std::vector<ManagedObject*>& attachments)
{
    m_staging.setCurrentAttachments(attachments);
    // Clearing the field runs search() and with it reloadRows().
    if (!m_searchField->text().isEmpty())
        m_searchField->clear();
    else
        reloadRows();
}

void TransAttachmentsController::showRecord(ManagedObject& transaction)
{
    const QString transID = transaction.valueForKey(u"trans_uniqueID").toString();
    setTransID(transID);
    setCurrentAttachments(m_delegate.fetchObjectsWithEntityName(
        QStringLiteral("AttachmentEntity"), QStringLiteral("attachment_transParentID"), Value(transID)));
}

std::vector<AttachmentFileFailure> TransAttachmentsController::saveToRecord(ManagedObject& transaction)
{
    // The record's id wins, so files land in the folder trans_uniqueID names.
    const QString transID = transaction.valueForKey(u"trans_uniqueID").toString();
    if (!transID.isEmpty())
        setTransID(transID);
    std::vector<AttachmentFileFailure> failures = m_staging.applyStagedChanges();
    reloadRows();
    return failures;
}

void TransAttachmentsController::addFilesToDatabase(const QStringList& paths)
{
    if (paths.isEmpty())
        return;
    m_staging.addFilesToDatabase(paths);
    reloadRows();
}

void TransAttachmentsController::addAttachment()
{
    const QStringList paths = QFileDialog::getOpenFileNames(window(), tr("Add Files"));
    addFilesToDatabase(paths);
}

void TransAttachmentsController::removeAttachment()
{
    const QString uniqueID = selectedAttachmentID();
    if (uniqueID.isEmpty() || !m_staging.removeAttachment(uniqueID))
        return;
    const int row = m_tableView->currentIndex().row();
    reloadRows();
    // The next row takes the place of the removed one, so "−" can be pressed again.
    if (m_model->rowCount() > 0)
        m_tableView->selectRow(std::min(row, m_model->rowCount() - 1));
}

void TransAttachmentsController::search(const QString& text)
{
    m_staging.search(text);
    reloadRows();
}

QString TransAttachmentsController::selectedAttachmentID() const
{
    const QModelIndexList selected = m_tableView->selectionModel()->selectedRows();
    return selected.isEmpty() ? QString() : selected.first().data(Qt::UserRole).toString();
}

void TransAttachmentsController::doubleClicked(const QModelIndex& index)
{
    const QString path = m_staging.currentPathOfAttachment(index.siblingAtColumn(0).data(Qt::UserRole).toString());
    if (!path.isEmpty())
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void TransAttachmentsController::reloadRows()
{
    static QFileIconProvider icons;
    // The time of day in the same locale as the ledger's dates.
    const QString localeID = m_delegate.shortDateFormatter().localeIdentifier();
    const QLocale locale = localeID.isEmpty() ? QLocale() : QLocale(localeID);
    m_model->removeRows(0, m_model->rowCount());
    for (const ValueDictionary& row : m_staging.arrangedRows()) {
        const QString uniqueID = field(row, QStringLiteral("attachment_uniqueID")).toString();
        const QString path = m_staging.currentPathOfAttachment(uniqueID);
        auto* title = new QStandardItem(field(row, QStringLiteral("attachment_title")).toString());
        title->setData(uniqueID, Qt::UserRole);
        title->setIcon(icons.icon(QFileInfo(path)));
        title->setToolTip(path);
        const Value& added = field(row, QStringLiteral("attachment_dateAdded"));
        QString dateText;
        if (!added.isNull()) {
            const QDateTime when = dateTimeFromAbsoluteTime(added.toDate()).toLocalTime();
            dateText = m_delegate.formatShortDate(added.toDate()) + QLatin1Char(' ') +
                       locale.toString(when.time(), QLocale::ShortFormat);
            // Newer locale data puts a narrow no-break space before "PM", which
            // the header measures narrower than it draws and then elides.
            dateText.replace(QChar(0x202F), QChar::Nbsp);
        }
        m_model->appendRow({title, new QStandardItem(dateText)});
    }
    updateButtons();
}

void TransAttachmentsController::updateButtons()
{
    m_removeButton->setEnabled(!selectedAttachmentID().isEmpty());
}

void TransAttachmentsController::keyPressEvent(QKeyEvent* event)
{
    // The table leaves these keys to its parent.
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && !selectedAttachmentID().isEmpty()) {
        removeAttachment();
        return;
    }
    QWidget::keyPressEvent(event);
}

void TransAttachmentsController::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event);
}

void TransAttachmentsController::dragMoveEvent(QDragMoveEvent* event)
{
    if (localFilesIn(event->mimeData()).isEmpty())
        event->ignore();
    else
        event->acceptProposedAction();
}

void TransAttachmentsController::dropEvent(QDropEvent* event)
{
    const QStringList files = localFilesIn(event->mimeData());
    if (files.isEmpty()) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    addFilesToDatabase(files);
}

} // namespace qf
