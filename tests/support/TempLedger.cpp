#include "support/TempLedger.h"

#include "app/UserDefaults.h"
#include "editing/AccountRecords.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"

#include <QDir>
#include <QFile>

namespace qf::test {

TempLedger::TempLedger(const QString& locale) : m_locale(locale)
{
    // Search records and other caches go under this ledger's own home.
    m_home = qgetenv("HOME");
    QDir().mkpath(m_dir.path() + QStringLiteral("/home"));
    qputenv("HOME", QFile::encodeName(m_dir.path() + QStringLiteral("/home")));
    reopen();
}

TempLedger::~TempLedger()
{
    m_delegate.reset();
    qputenv("HOME", m_home);
    UserDefaults::standard().clearVolatileValues();
}

void TempLedger::reopen()
{
    m_delegate.reset();
    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefaults();
    defaults.clearVolatileValues();
    defaults.setVolatileValue(DefaultsKey::LocaleIdentifier, m_locale);
    defaults.setVolatileValue(DefaultsKey::UseExampleStore, false);
    m_delegate = std::make_unique<Quillfen_AppDelegate>();
    m_delegate->setDataFolderOverride(folder());
}

ManagedObjectContext& TempLedger::launch()
{
    ManagedObjectContext& c = context();
    m_delegate->applicationDidFinishLaunching();
    return c;
}

ManagedObject* TempLedger::addAccount(const QString& title)
{
    AccountDetails details;
    details.title = title;
    return AccountRecords::createAccount(context(), *m_delegate, details);
}

ManagedObject* TempLedger::addTransaction(const QString& title, double amount, const QString& keywords,
                                          AbsoluteTime date)
{
    TransactionDraft draft;
    draft.title = title;
    draft.amount = amount;
    draft.date = date;
    draft.tags = keywords.split(QStringLiteral(", "));
    return TransactionRecords::insert(context(), *m_delegate, draft);
}

} // namespace qf::test
