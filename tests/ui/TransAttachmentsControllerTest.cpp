#include "support/FileBytes.h"
#include "attachments/ui/TransAttachmentsController.h"
#include "store/ManagedObject.h"
#include "support/DragAndDrop.h"
#include "support/TempLedger.h"

#include <QDesktopServices>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>

using namespace qf;
using namespace qf::test;

namespace {

// Stands in for the desktop's file opener.
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls << url; }
};

// The desktop's trash moved into a folder of its own while this lives. The
// test mode of QStandardPaths would hide XDG_DATA_HOME, so it pauses.
class PrivateTrash {
public:
    PrivateTrash() : m_oldDataHome(qgetenv("XDG_DATA_HOME"))
    {
        qputenv("XDG_DATA_HOME", m_home.path().toUtf8());
        QStandardPaths::setTestModeEnabled(false);
    }
    ~PrivateTrash()
    {
        QStandardPaths::setTestModeEnabled(true);
        if (m_oldDataHome.isNull())
            qunsetenv("XDG_DATA_HOME");
        else
            qputenv("XDG_DATA_HOME", m_oldDataHome);
    }
    QString filesFolder() const { return m_home.path() + QStringLiteral("/Trash/files"); }

private:
    QTemporaryDir m_home;
    QByteArray m_oldDataHome;
};

class FilesPaneTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ledger.launch();
        trans = ledger.addTransaction(QStringLiteral("Printer"), -199.0);
        transID = trans->valueForKey(u"trans_uniqueID").toString();
        folder = ledger.folder() + QStringLiteral("/Attachments/") + transID;
        pane.showRecord(*trans);
        pane.resize(420, 300);
        pane.show();
    }
    QString source(const QString& name, const QByteArray& bytes = "content")
    {
        return writeFile(outside.filePath(name), bytes) ? outside.filePath(name) : QString();
    }
    QString shownTitles() const
    {
        QStringList titles;
        const QAbstractItemModel* model = pane.attTableView()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            titles << model->index(row, 0).data().toString();
        return titles.join(u',');
    }
    QModelIndex rowIndex(int row) const { return pane.attTableView()->model()->index(row, 0); }
    void selectRow(int row) { pane.attTableView()->setCurrentIndex(rowIndex(row)); }
    std::vector<ManagedObject*> stored()
    {
        return ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"),
                                                            QStringLiteral("attachment_transParentID"), Value(transID));
    }

    TempLedger ledger;
    ManagedObject* trans = nullptr;
    QString transID, folder;
    QTemporaryDir outside;
    TransAttachmentsController pane{ledger.delegate()};
};

} // namespace

TEST_F(FilesPaneTest, RemoveButtonAndDeleteKeyTakeStagedRows)
{
    pane.addFilesToDatabase({source(QStringLiteral("a.pdf")), source(QStringLiteral("b.txt"))});
    EXPECT_EQ(shownTitles(), QStringLiteral("a.pdf,b.txt"));
    EXPECT_FALSE(pane.removeButton()->isEnabled()) << "remove offered with nothing selected";

    selectRow(0);
    ASSERT_TRUE(pane.removeButton()->isEnabled());
    pane.removeButton()->click();
    EXPECT_EQ(shownTitles(), QStringLiteral("b.txt"));
    // The row that slid up is selected, so the Delete key removes it next.
    pane.attTableView()->setFocus();
    QKeyEvent del(QEvent::KeyPress, Qt::Key_Delete, Qt::NoModifier);
    QCoreApplication::sendEvent(pane.attTableView(), &del);
    EXPECT_EQ(shownTitles(), QString());
    EXPECT_FALSE(pane.removeButton()->isEnabled());
}

TEST_F(FilesPaneTest, SearchFieldFiltersRowsIgnoringCaseAndAccents)
{
    pane.addFilesToDatabase({source(QStringLiteral("Receipt Café.pdf")), source(QStringLiteral("statement.pdf")),
                             source(QStringLiteral("CAFE bill.png"))});
    pane.searchField()->setText(QStringLiteral("cafe"));
    EXPECT_EQ(shownTitles(), QStringLiteral("Receipt Café.pdf,CAFE bill.png"));
    pane.searchField()->clear();
    EXPECT_EQ(shownTitles(), QStringLiteral("Receipt Café.pdf,statement.pdf,CAFE bill.png"));
}

TEST_F(FilesPaneTest, SavingCopiesAddedFilesAndTrashesRemovedOnes)
{
    const PrivateTrash trash;
    const QString original = source(QStringLiteral("invoice.pdf"), "%PDF-1.4 invoice");
    pane.addFilesToDatabase({original});
    EXPECT_TRUE(pane.saveToRecord(*trans).empty());
    const QString copy = folder + QStringLiteral("/invoice.pdf");
    ASSERT_EQ(stored().size(), 1u);
    EXPECT_TRUE(QFile::exists(copy));
    EXPECT_TRUE(QFile::exists(original)) << "the picked file must stay where it was";

    pane.showRecord(*trans);
    selectRow(0);
    pane.removeButton()->click();
    EXPECT_TRUE(QFile::exists(copy)) << "the file went before the save";
    EXPECT_EQ(stored().size(), 1u) << "the record went before the save";
    EXPECT_TRUE(pane.saveToRecord(*trans).empty());
    EXPECT_TRUE(stored().empty());
    EXPECT_FALSE(QFile::exists(copy));
    QFile trashed(trash.filesFolder() + QStringLiteral("/invoice.pdf"));
    ASSERT_TRUE(trashed.open(QIODevice::ReadOnly)) << "not in the private trash";
    EXPECT_EQ(trashed.readAll(), QByteArray("%PDF-1.4 invoice"));
}

TEST_F(FilesPaneTest, DroppedLocalFilesAreAddedAndOtherDropsRefused)
{
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(source(QStringLiteral("scan.jpg"))),
                   QUrl(QStringLiteral("https://example.org/remote.pdf")),
                   QUrl::fromLocalFile(source(QStringLiteral("terms.rtf")))});
    // Dropped on the table, taken by the pane around it.
    EXPECT_TRUE(sendDrop(pane.attTableView()->viewport(), files, {30, 60}));
    EXPECT_EQ(shownTitles(), QStringLiteral("scan.jpg,terms.rtf"));

    QMimeData words;
    words.setText(QStringLiteral("/not/a/file"));
    EXPECT_FALSE(sendDragEnter(&pane, words));
    EXPECT_FALSE(sendDrop(pane.attTableView()->viewport(), words));
    EXPECT_EQ(pane.staging().newCurrentAttachments().size(), 2u);
}

TEST_F(FilesPaneTest, DoubleClickOpensTheFileWhereItIsNow)
{
    const QString picked = source(QStringLiteral("manual.pdf"));
    pane.addFilesToDatabase({picked});
    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    pane.attTableView()->doubleClicked(rowIndex(0));
    ASSERT_EQ(opened.urls.size(), 1);
    EXPECT_EQ(opened.urls.front().toLocalFile(), picked) << "a staged file opens from where it was picked";

    // Once stored, the copy opens from the current data folder even when the
    // stored path names an older one.
    EXPECT_TRUE(pane.saveToRecord(*trans).empty());
    stored().front()->setValueForKey(u"attachment_path", Value(QStringLiteral("/old/place/Attachments/") + transID +
                                                                QStringLiteral("/manual.pdf")));
    pane.showRecord(*trans);
    pane.attTableView()->doubleClicked(rowIndex(0));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    ASSERT_EQ(opened.urls.size(), 2);
    EXPECT_EQ(opened.urls.back().toLocalFile(), folder + QStringLiteral("/manual.pdf"));
}

#include "TransAttachmentsControllerTest.moc"
