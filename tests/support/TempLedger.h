#pragma once

#include "app/Quillfen_AppDelegate.h"

#include <QTemporaryDir>
#include <memory>

namespace qf::test {

// A delegate on a data folder of its own, deleted with the fixture. The
// store opens on first use of context().
class TempLedger {
public:
    explicit TempLedger(const QString& locale = QStringLiteral("en_US"));
    ~TempLedger();

    QString folder() const { return m_dir.path() + QStringLiteral("/Quillfen"); }
    QString storePath() const { return folder() + QStringLiteral("/Quillfen.1ccdb"); }
    Quillfen_AppDelegate& delegate() { return *m_delegate; }
    ManagedObjectContext& context() { return *m_delegate->managedObjectContext(); }
    // Launches as the app does: store opened, fixed vaults ensured.
    ManagedObjectContext& launch();
    // A fresh delegate on the same folder, as after a restart.
    void reopen();

    // An account with the title and every other detail left empty.
    ManagedObject* addAccount(const QString& title);
    ManagedObject* addTransaction(const QString& title, double amount, const QString& keywords = {},
                                  AbsoluteTime date = 800000000.0);

private:
    QTemporaryDir m_dir;
    QString m_locale;
    QByteArray m_home;
    std::unique_ptr<Quillfen_AppDelegate> m_delegate;
};

} // namespace qf::test
