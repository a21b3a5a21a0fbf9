#include "app/Quillfen_AppDelegate.h"

#include "app/RecoveryFile.h"
#include "app/ResourceFolder.h"
#include "app/SearchIndex.h"
#include "app/UnixSignalWatcher.h"
#include "app/UserDefaults.h"
#include "attachments/AttachmentFiles.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/LocaleDefaults.h"
#include "common/SafePathComponent.h"
#include "planning/KVCalendarInfo.h"
#include "planning/NamedPeriod.h"
#include "store/RecordClassFactory.h"
#include "store/StoreOpener.h"
#include "store/VaultLibrary.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <QUuid>
#include <algorithm>
#include <csignal>

namespace qf {

namespace {
Quillfen_AppDelegate* g_sharedInstance = nullptr;
} // namespace

Quillfen_AppDelegate::Quillfen_AppDelegate(QObject* parent) : QObject(parent)
{
    if (!g_sharedInstance)
        g_sharedInstance = this;
    prepareFormatters();
}

Quillfen_AppDelegate::~Quillfen_AppDelegate()
{
    finishBackgroundIndexing();
    if (g_sharedInstance == this)
        g_sharedInstance = nullptr;
}

Quillfen_AppDelegate* Quillfen_AppDelegate::sharedInstance()
{
    return g_sharedInstance;
}

void Quillfen_AppDelegate::setDataFolderOverride(const QString& folder)
{
    m_dataFolderOverride = folder.isEmpty() ? QString() : QDir(folder).absolutePath();
}

bool Quillfen_AppDelegate::isUsingExampleStore() const
{
    return UserDefaults::standard().boolForKey(DefaultsKey::UseExampleStore);
}

QString Quillfen_AppDelegate::applicationSupportFolder() const
{
    const bool example = isUsingExampleStore();
    if (!m_dataFolderOverride.isEmpty())
        return example ? m_dataFolderOverride + QStringLiteral("_Example") : m_dataFolderOverride;
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        base = QDir::tempPath();
    return base + (example ? QStringLiteral("/Quillfen_Example") : QStringLiteral("/Quillfen"));
}

QString Quillfen_AppDelegate::exampleSourceFolder() const
{
    return resourceFolder() + QStringLiteral("/Quillfen Example");
}

ManagedObjectContext* Quillfen_AppDelegate::openUserContext()
{
    if (!m_managedObjectContext) {
        OpenedStore opened = StoreOpener(recordClassFactory(this)).openUserStore(applicationSupportFolder());
        m_managedObjectContext = std::move(opened.context);
        m_storeError = opened.error;
        if (m_storeError)
            qWarning("%s", qPrintable(m_storeError->describe()));
    }
    return m_managedObjectContext.get();
}

ManagedObjectContext* Quillfen_AppDelegate::openExampleContext()
{
    if (!m_exampleManagedObjectContext) {
        OpenedStore opened =
            StoreOpener(recordClassFactory(this)).openExampleStore(applicationSupportFolder(), exampleSourceFolder());
        m_exampleManagedObjectContext = std::move(opened.context);
        m_storeError = opened.error;
        if (m_storeError)
            qWarning("%s", qPrintable(m_storeError->describe()));
    }
    return m_exampleManagedObjectContext.get();
}

ManagedObjectContext* Quillfen_AppDelegate::managedObjectContext()
{
    ManagedObjectContext* context = isUsingExampleStore() ? openExampleContext() : openUserContext();
    Q_EMIT managedObjectChanged(context);
    return context;
}

bool Quillfen_AppDelegate::hasContext() const
{
    return isUsingExampleStore() ? m_exampleManagedObjectContext != nullptr : m_managedObjectContext != nullptr;
}

Status Quillfen_AppDelegate::saveAction()
{
    if (isUsingExampleStore())
        return Status::ok();
    return managedObjectContext()->save();
}

void Quillfen_AppDelegate::followStoreChanges(int intervalMs)
{
    if (!m_followTimer) {
        m_followTimer = new QTimer(this);
        connect(m_followTimer, &QTimer::timeout, this, &Quillfen_AppDelegate::mergeChangesFromElsewhere);
    }
    m_followTimer->start(intervalMs);
}

bool Quillfen_AppDelegate::mergeChangesFromElsewhere()
{
    // The example store is this process's alone.
    if (isUsingExampleStore() || !m_managedObjectContext || !m_managedObjectContext->hasChangedElsewhere())
        return true;
    const Status merged = m_managedObjectContext->mergeChangesFromStore();
    if (!merged) {
        if (merged.message() != m_mergeError)
            qWarning("%s", qPrintable(merged.message()));
        m_mergeError = merged.message();
        return false;
    }
    m_mergeError.clear();
    return true;
}

void Quillfen_AppDelegate::changeContextToDemo()
{
    UserDefaults::standard().setValue(DefaultsKey::UseExampleStore, true);
    m_managedObjectContext.reset();
    openExampleContext();
    convertVaultLibraryObjects();
    Q_EMIT managedObjectChanged(m_exampleManagedObjectContext.get());
}

void Quillfen_AppDelegate::changeContextToNormal()
{
    UserDefaults::standard().setValue(DefaultsKey::UseExampleStore, false);
    m_exampleManagedObjectContext.reset();
    openUserContext();
    convertVaultLibraryObjects();
    Q_EMIT managedObjectChanged(m_managedObjectContext.get());
}

void Quillfen_AppDelegate::convertVaultLibraryObjects()
{
    VaultLibrary::ensureFixedVaults(*managedObjectContext(), *this);
}

void Quillfen_AppDelegate::applicationDidFinishLaunching()
{
    m_saveWhenQuit = true;
    convertVaultLibraryObjects();
}

// ---- lookups --------------------------------------------------------------

static const EntityDescription* entityNamed(const QString& name)
{
    return ManagedObjectModel::shared().entity(name);
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchObjectsWithEntityName(const QString& entityName,
                                                                            const Predicate& predicate)
{
    const EntityDescription* entity = entityNamed(entityName);
    if (!entity)
        return {};
    const std::vector<ManagedObject*>& all = managedObjectContext()->objects(*entity);
    std::vector<ManagedObject*> found;
    for (ManagedObject* object : all) {
        if (predicate.evaluate(*object))
            found.push_back(object);
    }
    return found;
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchObjectsWithEntityName(const QString& entityName,
                                                                            const QString& key, const Value& value)
{
    auto predicate = Predicate::parse(u"%K == %@", {Value(key), value});
    if (!predicate)
        return {};
    return fetchObjectsWithEntityName(entityName, *predicate);
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchAllValidObjectsWithEntityName(const QString& entityName)
{
    // "self != nil" holds for every record: "valid" means every record held.
    const EntityDescription* entity = entityNamed(entityName);
    if (!entity)
        return {};
    return managedObjectContext()->objects(*entity);
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchAllVaultObjects()
{
    return fetchAllValidObjectsWithEntityName(QStringLiteral("VaultEntity"));
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchAllTransObjects()
{
    return fetchAllValidObjectsWithEntityName(QStringLiteral("TransEntity"));
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchAllAttachments()
{
    return fetchAllValidObjectsWithEntityName(QStringLiteral("AttachmentEntity"));
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchAllPhotoObjects()
{
    return fetchAllValidObjectsWithEntityName(QStringLiteral("PhotoEntity"));
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetchVaultObjectsWithType(const QString& type)
{
    return VaultLibrary::vaultsOfType(*managedObjectContext(), type);
}

static ManagedObject* firstOf(const std::vector<ManagedObject*>& objects)
{
    return objects.empty() ? nullptr : objects.front();
}

ManagedObject* Quillfen_AppDelegate::fetchTransObjectWithID(const QString& uniqueID)
{
    return firstOf(fetchObjectsWithEntityName(QStringLiteral("TransEntity"), QStringLiteral("trans_uniqueID"), Value(uniqueID)));
}

ManagedObject* Quillfen_AppDelegate::fetchVaultObjectWithID(const QString& uniqueID)
{
    return firstOf(fetchObjectsWithEntityName(QStringLiteral("VaultEntity"), QStringLiteral("vault_uniqueID"), Value(uniqueID)));
}

ManagedObject* Quillfen_AppDelegate::fetchVaultObjectWithName(const QString& title)
{
    return firstOf(fetchObjectsWithEntityName(QStringLiteral("VaultEntity"), QStringLiteral("vault_title"), Value(title)));
}

ManagedObject* Quillfen_AppDelegate::fetchAttachmentWithID(const QString& uniqueID)
{
    return firstOf(fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"), QStringLiteral("attachment_uniqueID"),
                                              Value(uniqueID)));
}

ManagedObject* Quillfen_AppDelegate::fetchSmartObjectWithID(const QString& uniqueID)
{
    return firstOf(fetchObjectsWithEntityName(QStringLiteral("SmartEntity"), QStringLiteral("smart_uniqueID"), Value(uniqueID)));
}

QString Quillfen_AppDelegate::createUniqueID() const
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

// ---- attachments ----------------------------------------------------------

QString Quillfen_AppDelegate::obtainAttachmentPathFrom(const QString& storedPath) const
{
    if (storedPath.isEmpty())
        return {};
    // Only the transaction folder and file name count, so attachments follow
    // the data folder even when the stored path is out of date.
    const QFileInfo stored(storedPath);
    const Result<QString> folder =
        AttachmentFiles::transactionFolder(applicationSupportFolder(), QFileInfo(stored.path()).fileName());
    if (!folder)
        return {};
    const Result<QString> file = SafePathComponent::join(folder.value(), stored.fileName());
    return file ? file.value() : QString();
}

void Quillfen_AppDelegate::deleteAttachmentsForObjects(const std::vector<ManagedObject*>& objects)
{
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    const int uniqueIDIndex = trans.indexOfAttribute(u"trans_uniqueID");
    for (ManagedObject* object : objects) {
        if (&object->entity() != &trans)
            continue;
        const QString uniqueID = object->primitiveValue(uniqueIDIndex).toString();
        if (uniqueID.isEmpty())
            continue;
        const Result<QString> folder = AttachmentFiles::transactionFolder(applicationSupportFolder(), uniqueID);
        if (folder)
            QDir(folder.value()).removeRecursively();
        else
            qWarning("Attachment files of a deleted transaction kept: %s", qPrintable(folder.message()));
        for (ManagedObject* attachment : fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"),
                                                                    QStringLiteral("attachment_transParentID"),
                                                                    Value(uniqueID)))
            managedObjectContext()->deleteObject(attachment);
    }
}

// ---- formatters -----------------------------------------------------------

void Quillfen_AppDelegate::prepareFormatters()
{
    const QString locale = UserDefaults::standard().stringForKey(DefaultsKey::LocaleIdentifier);
    LocaleDefaults::setLocaleIdentifier(locale);
    m_amountFormatter = std::make_unique<AmountFormatter>(locale);
    m_shortDateFormatter = std::make_unique<DateFormatter>(DateFormatter::Style::Short, locale);
    m_longDateFormatter = std::make_unique<DateFormatter>(DateFormatter::Style::Medium, locale);
    m_recordLongDateFormatter = std::make_unique<DateFormatter>(DateFormatter::Style::Long, locale);
}

void Quillfen_AppDelegate::localePreferenceChanged()
{
    prepareFormatters();
    ++m_formatGeneration;
}

const AmountFormatter& Quillfen_AppDelegate::amountFormatter() const
{
    return *m_amountFormatter;
}

const DateFormatter& Quillfen_AppDelegate::shortDateFormatter() const
{
    return *m_shortDateFormatter;
}

const DateFormatter& Quillfen_AppDelegate::longDateFormatter() const
{
    return *m_longDateFormatter;
}

QString Quillfen_AppDelegate::formatAmount(double amount) const
{
    return m_amountFormatter->format(amount);
}

QString Quillfen_AppDelegate::formatShortDate(AbsoluteTime date) const
{
    return m_shortDateFormatter->format(date);
}

QString Quillfen_AppDelegate::formatLongDate(AbsoluteTime date) const
{
    return m_recordLongDateFormatter->format(date);
}

AbsoluteTime Quillfen_AppDelegate::now() const
{
    return KVCalendarInfo::now();
}

std::optional<std::pair<AbsoluteTime, AbsoluteTime>> Quillfen_AppDelegate::periodBounds(const QString& name) const
{
    return namedPeriodBounds(name, now());
}

std::vector<ManagedObject*> Quillfen_AppDelegate::fetch(const QString& entityName, const QString& predicateFormat,
                                                        const ValueArray& arguments) const
{
    auto predicate = Predicate::parse(predicateFormat, arguments);
    if (!predicate)
        return {};
    return const_cast<Quillfen_AppDelegate*>(this)->fetchObjectsWithEntityName(entityName, *predicate);
}

// ---- opening files and quitting -------------------------------------------

void Quillfen_AppDelegate::setTransIDToOpen(const QString& uniqueID)
{
    m_transIDToOpen = uniqueID;
}

bool Quillfen_AppDelegate::openFile(const QString& path)
{
    const QFileInfo info(path);
    if (info.suffix().compare(QLatin1String("quillfenTransItem"), Qt::CaseInsensitive) != 0)
        return false;
    setTransIDToOpen(info.completeBaseName());
    Q_EMIT sourceListSetupRequested();
    return true;
}

Quillfen_AppDelegate::TerminateReply Quillfen_AppDelegate::applicationShouldTerminate(bool pendingEditsCommitted)
{
    m_saveError.reset();
    if (!m_saveWhenQuit || isUsingExampleStore() || !m_managedObjectContext)
        return TerminateReply::Now;
    ManagedObjectContext* context = m_managedObjectContext.get();
    deleteAttachmentsForObjects(context->deletedObjects());
    if (!pendingEditsCommitted)
        return TerminateReply::Cancel;
    // A script's own changes, read before the save turns them into plain records.
    std::vector<SearchIndex::Entry> changed;
    std::vector<ManagedObject*> removed;
    if (m_quitIndexing == QuitIndexing::ChangedOnly) {
        const EntityDescription& trans = ManagedObjectModel::shared().trans();
        for (const auto& objects : {context->insertedObjects(), context->updatedObjects()}) {
            for (const ManagedObject* object : objects) {
                if (&object->entity() == &trans)
                    changed.push_back(SearchIndex::entryOf(*object));
            }
        }
        for (ManagedObject* object : context->deletedObjects()) {
            if (&object->entity() == &trans)
                removed.push_back(object);
        }
    }
    if (context->hasChanges()) {
        if (Status saved = context->save(); !saved) {
            m_saveError = saved.error();
            return TerminateReply::Later;
        }
    }
    if (m_quitIndexing == QuitIndexing::AllMissing) {
        finishBackgroundIndexing();
        const auto& all = context->objects(ManagedObjectModel::shared().trans());
        if (m_indexListing)
            SearchIndex::indexMissing(all, *m_indexListing);
        else
            SearchIndex::indexMissing(all);
    } else {
        for (SearchIndex::Entry& entry : changed)
            SearchIndex::writeEntry(entry, true);
        SearchIndex::removeIndexOf(removed);
    }
    return TerminateReply::Now;
}

void Quillfen_AppDelegate::indexTransactionsInBackground()
{
    if (!UserDefaults::standard().boolForKey(DefaultsKey::EnableSpotlightIndexing) || !managedObjectContext())
        return;
    QThread* lister = QThread::create([this] {
        auto listing = std::make_shared<SearchIndex::Listing>(SearchIndex::Listing::read());
        QMetaObject::invokeMethod(
            this,
            [this, listing] {
                // Records are read here only; the writer gets plain copies.
                const int idKey = ManagedObjectModel::shared().trans().indexOfAttribute(u"trans_uniqueID");
                std::vector<SearchIndex::Entry> missing;
                for (const ManagedObject* t : m_managedObjectContext->objects(ManagedObjectModel::shared().trans())) {
                    const SharedString& id = t->primitiveValue(idKey).string();
                    if (!id.isEmpty() && !listing->contains(id.view())) {
                        missing.push_back(SearchIndex::entryOf(*t));
                        listing->add(id.view());
                    }
                }
                // Quitting looks records up here instead of listing the folder again.
                m_indexListing = listing;
                if (missing.empty() || m_terminated)
                    return;
                QThread* writer = QThread::create([missing = std::move(missing)] {
                    const QString dir = SearchIndex::folder();
                    for (const SearchIndex::Entry& entry : missing)
                        SearchIndex::writeEntry(entry, false, dir);
                });
                m_indexThreads.push_back(writer);
                writer->start(QThread::LowPriority);
            },
            Qt::QueuedConnection);
    });
    m_indexThreads.push_back(lister);
    lister->start(QThread::LowPriority);
}

void Quillfen_AppDelegate::finishBackgroundIndexing()
{
    // The lister's answer may start a writer, so wait until none is left.
    while (!m_indexThreads.empty()) {
        std::vector<QThread*> threads;
        threads.swap(m_indexThreads);
        for (QThread* thread : threads) {
            thread->wait();
            delete thread;
        }
        QCoreApplication::sendPostedEvents(this);
    }
}

int Quillfen_AppDelegate::reindexTransactions()
{
    finishBackgroundIndexing();
    m_indexListing.reset();
    if (!managedObjectContext())
        return 0;
    return SearchIndex::reindex(m_managedObjectContext->objects(ManagedObjectModel::shared().trans()));
}

Quillfen_AppDelegate::TerminateReply Quillfen_AppDelegate::replyToSaveFailedAlert(SaveFailedButton button)
{
    // The default button, "Cancel", quits and "Quit" keeps the program
    // running. Users have learnt this behaviour; it stays as it is.
    return button == SaveFailedButton::Cancel ? TerminateReply::Now : TerminateReply::Cancel;
}

QString Quillfen_AppDelegate::saveFailedTitle()
{
    return tr("Database Save Failed");
}

QString Quillfen_AppDelegate::saveFailedText()
{
    return tr("Could not save changes to the database while quitting. Quit anyway?");
}

void Quillfen_AppDelegate::applicationWillTerminate()
{
    m_terminated = true;
    finishBackgroundIndexing();
    if (isUsingExampleStore()) {
        UserDefaults::standard().setValue(DefaultsKey::UseExampleStore, false);
        UserDefaults::standard().synchronize();
    }
}

Status Quillfen_AppDelegate::saveUnattended()
{
    if (applicationShouldTerminate() != TerminateReply::Later)
        return Status::ok();
    // Changes made over a store that never opened were made to an empty
    // ledger; replayed over the real one they would only add clutter.
    if (m_storeError)
        return Status::failure(
            tr("%1. The ledger never opened, so the changes made since are not kept.").arg(m_saveError->describe()));
    const UnsavedChanges changes = UnsavedChanges::collect(*m_managedObjectContext);
    if (changes.unnamed() > 0)
        qWarning("%d changed records have no uniqueID and cannot be kept", changes.unnamed());
    Result<QString> kept = RecoveryFile::write(recoveryFilePath(), changes);
    if (!kept)
        return Status::failure(
            tr("%1. Nor could the unsaved changes be kept: %2").arg(m_saveError->describe(), kept.message()));
    qWarning("%s. The unsaved changes are kept in %s", qPrintable(m_saveError->describe()), qPrintable(*kept));
    return Status::ok();
}

Status Quillfen_AppDelegate::terminateUnattended()
{
    if (m_terminated)
        return Status::ok();
    Status saved = saveUnattended();
    applicationWillTerminate();
    return saved;
}

Status Quillfen_AppDelegate::commitData()
{
    return m_terminated ? Status::ok() : saveUnattended();
}

void Quillfen_AppDelegate::terminateOnSessionEnd()
{
    auto* watcher = new UnixSignalWatcher({SIGTERM, SIGINT, SIGHUP}, this);
    connect(watcher, &UnixSignalWatcher::signalReceived, this, [this] {
        Status ended = terminateUnattended();
        if (!ended)
            qWarning("%s", qPrintable(ended.message()));
        QCoreApplication::exit(ended ? 0 : 1);
    });
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        if (Status ended = terminateUnattended(); !ended)
            qWarning("%s", qPrintable(ended.message()));
    });
}

QString Quillfen_AppDelegate::recoveryFilePath() const
{
    return RecoveryFile::pathInFolder(applicationSupportFolder());
}

bool Quillfen_AppDelegate::hasRecoveryFile() const
{
    return !isUsingExampleStore() && m_managedObjectContext && !m_storeError &&
           QFileInfo::exists(recoveryFilePath());
}

Result<UnsavedChanges> Quillfen_AppDelegate::readRecoveryFile() const
{
    return RecoveryFile::read(recoveryFilePath());
}

Result<ApplyReport> Quillfen_AppDelegate::applyRecoveredChanges(const UnsavedChanges& changes)
{
    if (!hasRecoveryFile())
        return Result<ApplyReport>::failure(tr("There are no recovered changes for this ledger."));
    ManagedObjectContext* context = managedObjectContext();
    const ApplyReport report = changes.applyTo(*context);
    context->processPendingChanges();
    if (Status saved = context->save(); !saved)
        return saved.error();
    if (!QFile::remove(recoveryFilePath()))
        qWarning("Could not remove %s after applying it", qPrintable(recoveryFilePath()));
    return report;
}

Result<QString> Quillfen_AppDelegate::setAsideRecoveryFile()
{
    return RecoveryFile::setAside(recoveryFilePath());
}

qint64 Quillfen_AppDelegate::restartWithoutSaving(const QString& launchPath, const QStringList& arguments)
{
    m_saveWhenQuit = false;
    qputenv("LAUNCH_PATH", launchPath.toLocal8Bit());
    const QString pid = QString::number(QCoreApplication::applicationPid());
    // Waits for this process to end (0.2 s steps, at most 3000), then starts
    // the program again; output is discarded.
    const QString script = QStringLiteral("i=0; while kill -0 %1 2>/dev/null && [ $i -lt 3000 ]; do sleep 0.2; "
                                          "i=$((i+1)); done; kill -0 %1 2>/dev/null || exec \"${LAUNCH_PATH}\" \"$@\"")
                               .arg(pid);
    QProcess job;
    job.setProgram(QStringLiteral("/bin/sh"));
    // The arguments reach the new process as they are, never through the shell's parsing.
    job.setArguments(QStringList{QStringLiteral("-c"), script, QStringLiteral("quillfen-restart")} + arguments);
    job.setStandardOutputFile(QProcess::nullDevice());
    job.setStandardErrorFile(QProcess::nullDevice());
    qint64 jobID = 0;
    if (!job.startDetached(&jobID))
        jobID = 0;
    if (QCoreApplication::instance())
        QCoreApplication::exit(0);
    return jobID;
}

} // namespace qf
