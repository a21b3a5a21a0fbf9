#pragma once

#include "app/SearchIndex.h"
#include "app/UnsavedChanges.h"
#include "common/Predicate.h"
#include "common/Result.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <QObject>

class QThread;
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class QTimer;

namespace qf {

class AmountFormatter;
class DateFormatter;

// The application's owner of the store: which store is open (the user's or
// the example), where its files lie, the one context every screen shares,
// lookups by entity and identifier, attachment paths, the shared formatters
// and the quit sequence. Everything here works without a window; the desktop
// app and quillfen-cli both drive it. Main thread only.
class Quillfen_AppDelegate : public QObject, public RecordEnvironment {
    Q_OBJECT

public:
    // The first delegate made becomes the shared instance.
    explicit Quillfen_AppDelegate(QObject* parent = nullptr);
    ~Quillfen_AppDelegate() override;
    static Quillfen_AppDelegate* sharedInstance();

    // Scripts and tests point the data folder elsewhere; the example folder
    // then lies beside it with "_Example" appended.
    void setDataFolderOverride(const QString& folder);
    QString applicationSupportFolder() const override;
    bool isUsingExampleStore() const;

    // The context of the store in use, opened (and converted) on first use.
    // Announces managedObjectChanged() on every call.
    ManagedObjectContext* managedObjectContext();
    bool hasContext() const;
    // Why the store in use could not be opened; none when it opened.
    const std::optional<Error>& storeError() const { return m_storeError; }

    Status saveAction();
    // Polls the user's store for saves of other processes (a script, a
    // second window) every interval, and merges them into the context.
    void followStoreChanges(int intervalMs = 500);
    // One poll: merges when another process saved. False only when merging failed.
    bool mergeChangesFromElsewhere();
    void changeContextToDemo();
    void changeContextToNormal();

    // The three fixed vaults, and the conversion of older "Paid"/"Pending" ones.
    void convertVaultLibraryObjects();
    // End of launching: from here on quitting saves.
    void applicationDidFinishLaunching();

    // Lookups on the store in use; nothing found gives an empty list or null.
    std::vector<ManagedObject*> fetchObjectsWithEntityName(const QString& entityName, const Predicate& predicate);
    std::vector<ManagedObject*> fetchObjectsWithEntityName(const QString& entityName, const QString& key,
                                                           const Value& value);
    std::vector<ManagedObject*> fetchAllValidObjectsWithEntityName(const QString& entityName);
    std::vector<ManagedObject*> fetchAllVaultObjects();
    std::vector<ManagedObject*> fetchAllTransObjects();
    std::vector<ManagedObject*> fetchAllAttachments();
    std::vector<ManagedObject*> fetchAllPhotoObjects();
    std::vector<ManagedObject*> fetchVaultObjectsWithType(const QString& type);
    ManagedObject* fetchTransObjectWithID(const QString& uniqueID);
    ManagedObject* fetchVaultObjectWithID(const QString& uniqueID);
    ManagedObject* fetchVaultObjectWithName(const QString& title);
    ManagedObject* fetchAttachmentWithID(const QString& uniqueID);
    ManagedObject* fetchSmartObjectWithID(const QString& uniqueID);

    QString createUniqueID() const override;

    // The stored path moved under Attachments/ of the current data folder,
    // keeping its folder and file name. Empty for an empty path, or when
    // either name is not one safe name, so the result never leads elsewhere.
    QString obtainAttachmentPathFrom(const QString& storedPath) const;
    // For each deleted transaction: its Attachments/<trans_uniqueID> folder
    // and its attachment records. An identifier that is not one safe name
    // removes no files (a warning is logged); the records still go.
    void deleteAttachmentsForObjects(const std::vector<ManagedObject*>& objects);

    const AmountFormatter& amountFormatter() const;
    const DateFormatter& shortDateFormatter() const;
    const DateFormatter& longDateFormatter() const; // medium style, deliberately
    // Rebuilds the formatters after LocaleIdentifier changed.
    void localePreferenceChanged();

    QString transIDToOpen() const { return m_transIDToOpen; }
    void setTransIDToOpen(const QString& uniqueID);
    // A search-index file (extension "quillfenTransItem", any case) hands its
    // transaction over; any other file is refused.
    bool openFile(const QString& path);

    // Quitting, in steps; the screen asks the user where a step needs it.
    enum class TerminateReply { Now, Cancel, Later };
    // Runs the quit steps up to a failed save; on one, saveError() holds why
    // and Later asks the caller to present it.
    TerminateReply applicationShouldTerminate(bool pendingEditsCommitted = true);
    const std::optional<Error>& saveError() const { return m_saveError; }
    // After the error presentation: dealt with means stay. Otherwise the
    // caller shows "Database Save Failed" and hands the button back here.
    enum class SaveFailedButton { Cancel, Quit };
    static TerminateReply replyToSaveFailedAlert(SaveFailedButton button);
    static QString saveFailedTitle();
    static QString saveFailedText();
    void applicationWillTerminate();

    // Quitting with no one to ask: a Unix signal or the end of the desktop
    // session. The quit steps run as above, and when the save fails the
    // unsaved changes go to the recovery file instead of a question. Runs
    // once; after applicationWillTerminate() it does nothing. Fails only when
    // the changes could be neither saved nor kept.
    Status terminateUnattended();
    // The desktop session asks for the data to be saved and may still be
    // cancelled: the quit steps without quitting, a failed save kept as above.
    Status commitData();
    // SIGTERM, SIGINT and SIGHUP run terminateUnattended() and end the event
    // loop (status 0, or 1 when changes were lost); so does the application's
    // aboutToQuit, for a quit that passed no window.
    void terminateOnSessionEnd();

    // Where terminateUnattended() keeps the changes it could not save.
    QString recoveryFilePath() const;
    // True when the user's store opened and a recovery file waits beside it.
    bool hasRecoveryFile() const;
    Result<UnsavedChanges> readRecoveryFile() const;
    // Applies the changes to the store in use and saves; the recovery file
    // goes once that save succeeded, and stays when it failed.
    Result<ApplyReport> applyRecoveredChanges(const UnsavedChanges& changes);
    // Renames the recovery file beside itself; gives its new path.
    Result<QString> setAsideRecoveryFile();

    // Quits without saving and starts the program at launchPath again, with
    // the arguments, once this process has gone. Returns the waiting job's
    // process ID (0 when it could not be started).
    qint64 restartWithoutSaving(const QString& launchPath, const QStringList& arguments = {});

    // Search records. Quitting on the user's store writes the missing ones
    // of every transaction (the window), or only those of the transactions
    // changed in this run (a script).
    enum class QuitIndexing { AllMissing, ChangedOnly };
    void setQuitIndexing(QuitIndexing mode) { m_quitIndexing = mode; }
    // With EnableSpotlightIndexing on: the folder is listed on a thread of
    // its own, and the transactions without a record get one, written on
    // another from plain copies made on this thread.
    void indexTransactionsInBackground();
    // Waits for that indexing to end (quitting does).
    void finishBackgroundIndexing();
    // The Preferences control: the folder emptied and every record written
    // afresh. Gives how many were written.
    int reindexTransactions();
    bool saveWhenQuit() const { return m_saveWhenQuit; }

    // Selection of the source list, read by record classes (transfer bills).
    void setSelectedVaultID(const QString& uniqueID) { m_selectedVaultID = uniqueID; }

    // RecordEnvironment
    QString formatAmount(double amount) const override;
    QString formatShortDate(AbsoluteTime date) const override;
    QString formatLongDate(AbsoluteTime date) const override;
    AbsoluteTime now() const override;
    QString selectedVaultID() const override { return m_selectedVaultID; }
    std::uint64_t formatGeneration() const override { return m_formatGeneration; }
    std::optional<std::pair<AbsoluteTime, AbsoluteTime>> periodBounds(const QString& name) const override;
    std::vector<ManagedObject*> fetch(const QString& entityName, const QString& predicateFormat,
                                      const ValueArray& arguments) const override;

Q_SIGNALS:
    // "ManagedObjectChangedNotification": the context was asked for or switched.
    void managedObjectChanged(qf::ManagedObjectContext* context);
    // The source list should be set up again (a transaction to open arrived).
    void sourceListSetupRequested();

private:
    void prepareFormatters();
    ManagedObjectContext* openUserContext();
    ManagedObjectContext* openExampleContext();
    QString exampleSourceFolder() const;
    Status saveUnattended();

    QTimer* m_followTimer = nullptr;
    QString m_mergeError; // the last one logged, so a lasting failure is logged once
    QString m_dataFolderOverride;
    std::unique_ptr<ManagedObjectContext> m_managedObjectContext;
    std::unique_ptr<ManagedObjectContext> m_exampleManagedObjectContext;
    std::optional<Error> m_storeError;
    std::optional<Error> m_saveError;
    std::unique_ptr<AmountFormatter> m_amountFormatter;
    std::unique_ptr<DateFormatter> m_shortDateFormatter;
    std::unique_ptr<DateFormatter> m_longDateFormatter;
    std::unique_ptr<DateFormatter> m_recordLongDateFormatter;
    bool m_saveWhenQuit = false;
    bool m_terminated = false;
    QuitIndexing m_quitIndexing = QuitIndexing::AllMissing;
    std::vector<QThread*> m_indexThreads;
    // The search-record folder as the launch listing found it, with what was
    // written since; none until that listing is done.
    std::shared_ptr<SearchIndex::Listing> m_indexListing;
    QString m_transIDToOpen;
    QString m_selectedVaultID;
    std::uint64_t m_formatGeneration = 0;
};

} // namespace qf
