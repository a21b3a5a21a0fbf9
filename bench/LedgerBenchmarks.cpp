// Ledger benchmarks on generated stores of 100,000 and 1,000,000
// transactions. Run a Release build: build-release/bin/bench_ledger.
#include "LedgerGenerator.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SearchIndex.h"
#include "app/UserDefaults.h"
#include "common/AmountFormatter.h"
#include "exchange/QFQIFParser.h"
#include "exchange/QIFImport.h"
#include "store/ManagedObjectContext.h"
#include "store/SqliteStore.h"
#include "store/StoreOpener.h"
#include "store/VaultLibrary.h"
#include "views/TransactionQuery.h"
#include "views/TransactionIndexes.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>
#include <fstream>
#include <map>
#include <memory>
#include <string>

using namespace qf;

namespace {

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return 0;
}

QString storeFolder(std::int64_t transactions)
{
    LedgerShape shape;
    shape.transactions = transactions;
    auto folder = LedgerGenerator::cachedStoreFolder(shape);
    if (!folder)
        qFatal("cannot generate the ledger: %s", qPrintable(folder.message()));
    return *folder;
}

// One opened ledger per size, kept for the benchmarks that only read.
Quillfen_AppDelegate& openedLedger(std::int64_t transactions)
{
    static std::map<std::int64_t, std::unique_ptr<Quillfen_AppDelegate>> ledgers;
    auto& delegate = ledgers[transactions];
    if (!delegate) {
        delegate = std::make_unique<Quillfen_AppDelegate>();
        delegate->setDataFolderOverride(storeFolder(transactions));
        delegate->managedObjectContext();
        if (delegate->storeError())
            qFatal("cannot open the ledger: %s", qPrintable(delegate->storeError()->describe()));
        delegate->applicationDidFinishLaunching();
    }
    return *delegate;
}

void BM_OpenAndLibraryBalance(benchmark::State& state)
{
    const QString folder = storeFolder(state.range(0));
    long rss = -1;
    for (auto _ : state) {
        const long before = residentKilobytes();
        auto delegate = std::make_unique<Quillfen_AppDelegate>();
        delegate->setDataFolderOverride(folder);
        ManagedObjectContext* context = delegate->managedObjectContext();
        delegate->applicationDidFinishLaunching();
        const auto shown =
            TransactionQuery::arrangedTransactions(*context, TransactionQuery::libraryPredicates().all, QStringLiteral("Date"));
        benchmark::DoNotOptimize(TransactionQuery::balances(shown).total);
        // Later opens reuse memory the earlier ones freed; the first one shows
        // what opening costs a fresh process.
        if (rss < 0)
            rss = residentKilobytes() - before;
        state.PauseTiming(); // closing the ledger is not part of opening it
        delegate.reset();
        state.ResumeTiming();
    }
    state.counters["rss_growth_MB"] = static_cast<double>(rss) / 1024.0;
}

ListQuery listQuery(Quillfen_AppDelegate& delegate, const FilterPredicates& scope, const QString& search)
{
    ListQuery query;
    query.scope = scope;
    query.settings.searchText = search;
    const AmountFormatter& amounts = delegate.amountFormatter();
    query.amountMayContain = [&amounts](const QString& t) { return amounts.mayContain(t); };
    return query;
}

// The list keeps its text index between searches; building it is measured apart.
void search(benchmark::State& state, const QString& text)
{
    Quillfen_AppDelegate& delegate = openedLedger(state.range(0));
    ManagedObjectContext& context = *delegate.managedObjectContext();
    TransactionIndexes indexes;
    indexes.text.candidates(context, QStringLiteral("warm"));
    const ListQuery query = listQuery(delegate, TransactionQuery::libraryPredicates(), text);
    std::size_t found = 0;
    for (auto _ : state) {
        const auto shown = TransactionQuery::arrangedTransactions(context, query, &indexes);
        found = shown.size();
        benchmark::DoNotOptimize(TransactionQuery::balances(shown));
    }
    state.counters["found"] = static_cast<double>(found);
}

void BM_TextIndexBuild(benchmark::State& state)
{
    Quillfen_AppDelegate& delegate = openedLedger(state.range(0));
    ManagedObjectContext& context = *delegate.managedObjectContext();
    for (auto _ : state) {
        TransactionTextIndex index;
        benchmark::DoNotOptimize(index.candidates(context, QStringLiteral("coffee")).size());
    }
}

void BM_LibrarySearchWithoutIndex(benchmark::State& state)
{
    Quillfen_AppDelegate& delegate = openedLedger(state.range(0));
    ManagedObjectContext& context = *delegate.managedObjectContext();
    const ListQuery query = listQuery(delegate, TransactionQuery::libraryPredicates(), QStringLiteral("coffee"));
    for (auto _ : state)
        benchmark::DoNotOptimize(TransactionQuery::arrangedTransactions(context, query).size());
}

void BM_LibrarySearchOneWord(benchmark::State& state)
{
    search(state, QStringLiteral("coffee"));
}

void BM_LibrarySearchTwoWords(benchmark::State& state)
{
    search(state, QStringLiteral("coffee food"));
}

// An account's balance lines as its list's status line asks for them: the
// list keeps its account index between queries.
void BM_AccountBalance(benchmark::State& state)
{
    Quillfen_AppDelegate& delegate = openedLedger(state.range(0));
    ManagedObjectContext& context = *delegate.managedObjectContext();
    ManagedObject* account = VaultLibrary::vaultsOfType(context, VaultType::Account).front();
    const ListQuery query = ListQuery::forVault(*account, ListSettings());
    TransactionIndexes indexes;
    indexes.accounts.candidates(context, query.accountID);
    std::size_t count = 0;
    for (auto _ : state) {
        const Balances b = TransactionQuery::balances(context, query, &indexes);
        count = b.count;
        benchmark::DoNotOptimize(b);
    }
    state.counters["transactions"] = static_cast<double>(count);
}

void BM_AccountListSorted(benchmark::State& state)
{
    Quillfen_AppDelegate& delegate = openedLedger(state.range(0));
    ManagedObjectContext& context = *delegate.managedObjectContext();
    ManagedObject* account = VaultLibrary::vaultsOfType(context, VaultType::Account).front();
    const ListQuery query = ListQuery::forVault(*account, ListSettings());
    TransactionIndexes indexes;
    for (auto _ : state)
        benchmark::DoNotOptimize(TransactionQuery::arrangedTransactions(context, query, &indexes).size());
}

// Works on a copy of the store so the cached one stays as generated.
std::unique_ptr<Quillfen_AppDelegate> openCopy(std::int64_t transactions, QTemporaryDir& dir)
{
    const QString source = storeFolder(transactions) + QLatin1Char('/') + StoreFile::Current;
    QFile::copy(source, dir.path() + QLatin1Char('/') + StoreFile::Current);
    auto delegate = std::make_unique<Quillfen_AppDelegate>();
    delegate->setDataFolderOverride(dir.path());
    delegate->managedObjectContext();
    delegate->applicationDidFinishLaunching();
    if (Status s = delegate->saveAction(); !s)
        qFatal("%s", qPrintable(s.message()));
    return delegate;
}

void BM_SaveOneChange(benchmark::State& state)
{
    QTemporaryDir dir;
    auto delegate = openCopy(state.range(0), dir);
    ManagedObjectContext& context = *delegate->managedObjectContext();
    ManagedObject* record = context.objects(ManagedObjectModel::shared().trans())[state.range(0) / 2];
    int round = 0;
    for (auto _ : state) {
        record->setValueForKey(u"trans_title", Value(QStringLiteral("Renamed %1").arg(++round)));
        if (Status s = context.save(); !s)
            state.SkipWithError(qPrintable(s.message()));
    }
}

// The window's side of a script's save: noticing it and merging one changed
// and one new record into the loaded ledger.
void BM_MergeAScriptsSave(benchmark::State& state)
{
    QTemporaryDir dir;
    auto delegate = openCopy(state.range(0), dir);
    ManagedObjectContext& window = *delegate->managedObjectContext();
    auto scriptStore = SqliteStore::open(window.persistentStore()->path(), SqliteStore::Mode::MustExist);
    if (!scriptStore)
        qFatal("%s", qPrintable(scriptStore.message()));
    ManagedObjectContext script(std::move(*scriptStore));
    if (Status s = script.load(); !s)
        qFatal("%s", qPrintable(s.message()));
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    ManagedObject* record = script.objects(trans)[state.range(0) / 2];
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        record->setValueForKey(u"trans_notes", Value(QStringLiteral("Merged %1").arg(++round)));
        script.insertNewObject(trans)->setValueForKey(u"trans_title", Value(QStringLiteral("New %1").arg(round)));
        if (Status s = script.save(); !s)
            state.SkipWithError(qPrintable(s.message()));
        state.ResumeTiming();
        if (!window.hasChangedElsewhere())
            state.SkipWithError("the save went unnoticed");
        if (Status s = window.mergeChangesFromStore(); !s)
            state.SkipWithError(qPrintable(s.message()));
        window.processPendingChanges();
        benchmark::DoNotOptimize(window.objects(trans).size());
    }
}

void BM_Insert100kAndSave(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        auto delegate = openCopy(state.range(0), dir);
        ManagedObjectContext& context = *delegate->managedObjectContext();
        const EntityDescription& trans = ManagedObjectModel::shared().trans();
        const int id = trans.indexOfAttribute(u"trans_uniqueID");
        const int title = trans.indexOfAttribute(u"trans_title");
        const int amount = trans.indexOfAttribute(u"trans_amount");
        const int date = trans.indexOfAttribute(u"trans_date");
        state.ResumeTiming();
        for (int i = 0; i < 100000; ++i) {
            ManagedObject* t = context.insertNewObject(trans);
            t->setValue(id, Value(delegate->createUniqueID()));
            t->setValue(title, Value(QStringLiteral("Imported %1").arg(i)));
            t->setValue(amount, Value(-12.5));
            t->setValue(date, Value::date(800000000.0 + i));
        }
        if (Status s = context.save(); !s)
            state.SkipWithError(qPrintable(s.message()));
    }
}

// A bank's QIF export: apostrophe years, padded days, payees from a few
// thousand, a memo on every third record and a split on every tenth.
QString generatedQif(int transactions)
{
    QRandomGenerator random(20261121);
    QString text = QStringLiteral("!Type:Bank\r\n");
    text.reserve(transactions * 80);
    for (int i = 0; i < transactions; ++i) {
        const QDate day = QDate(2004, 1, 1).addDays(i / 40);
        const double cents = double(random.bounded(-50000, 20000));
        text += QStringLiteral("D%1/%2'%3\r\nT%4\r\nPPayee %5\r\n")
                    .arg(day.month())
                    .arg(day.day(), 2, 10, QLatin1Char(' '))
                    .arg(day.year() % 100, 2, 10, QLatin1Char('0'))
                    .arg(cents / 100.0, 0, 'f', 2)
                    .arg(random.bounded(3000));
        if (i % 3 == 0)
            text += QStringLiteral("MInvoice %1\r\n").arg(i);
        if (i % 10 == 0)
            text += QStringLiteral("SFood\r\nEGroceries\r\n$-1.00\r\nSHome\r\n$-2.00\r\n");
        text += QStringLiteral("LCategory\r\n^\r\n");
    }
    return text;
}

void BM_QifParse(benchmark::State& state)
{
    const QString text = generatedQif(int(state.range(0)));
    QFQIFParser parser;
    std::size_t records = 0;
    long rss = 0;
    for (auto _ : state) {
        const long before = residentKilobytes();
        parser.setQifString(text);
        parser.setNewDateFormat(QStringLiteral("%m/%d'%y"));
        const auto list = parser.listOfTransactions();
        records = list.size();
        rss = std::max(rss, residentKilobytes() - before);
    }
    state.counters["records"] = double(records);
    state.counters["file_MB"] = double(text.size()) / 1e6; // ASCII: one byte a character
    state.counters["rss_growth_MB"] = double(rss) / 1024.0;
}

// A statement of range(0) records into the 1,000,000-transaction ledger:
// sample date, records, insertion and the save.
void BM_QifImportAndSave(benchmark::State& state)
{
    QTemporaryDir qifDir;
    const QString qifPath = qifDir.path() + QStringLiteral("/statement.qif");
    QFile file(qifPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(generatedQif(int(state.range(0))).toLatin1()) < 0)
        qFatal("cannot write the statement");
    file.close();
    for (auto _ : state) {
        state.PauseTiming();
        QTemporaryDir dir;
        auto delegate = openCopy(1000000, dir);
        ManagedObjectContext& context = *delegate->managedObjectContext();
        const QString accountID =
            VaultLibrary::vaultsOfType(context, VaultType::Account).front()->valueForKey(u"vault_uniqueID").toString();
        state.ResumeTiming();
        QIFImport import;
        if (Status s = import.loadQIFFile(qifPath); !s)
            state.SkipWithError(qPrintable(s.message()));
        import.prepareQIFTransactions(QStringLiteral("%m/%d'%y"));
        QIFImport::insertTransactions(context, *delegate, import.QIFTransactions(), accountID);
        if (Status s = delegate->saveAction(); !s)
            state.SkipWithError(qPrintable(s.message()));
    }
}

} // namespace

BENCHMARK(BM_QifParse)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QifImportAndSave)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_OpenAndLibraryBalance)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TextIndexBuild)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibrarySearchWithoutIndex)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibrarySearchOneWord)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibrarySearchTwoWords)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AccountBalance)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AccountListSorted)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
// Quitting the window on a ledger whose search records all exist: one
// listing of the folder and a lookup per transaction, no file touched.
void BM_QuitIndexingAllPresent(benchmark::State& state)
{
    QTemporaryDir dir;
    qputenv("XDG_CACHE_HOME", QFile::encodeName(dir.path() + QStringLiteral("/cache")));
    auto delegate = openCopy(state.range(0), dir);
    const auto& all = delegate->managedObjectContext()->objects(ManagedObjectModel::shared().trans());
    // The records exist; what they hold does not matter to this step.
    const QByteArray folder = QFile::encodeName(SearchIndex::folder());
    for (const ManagedObject* t : all) {
        const QByteArray path = folder + '/' + QFile::encodeName(t->valueForKey(u"trans_uniqueID").toString()) + ".quillfenTransItem";
        const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd >= 0)
            ::close(fd);
    }
    // The window listed the folder at launch, off the main thread.
    SearchIndex::Listing listing = SearchIndex::Listing::read();
    for (auto _ : state) {
        if (SearchIndex::indexMissing(all, listing) != 0)
            state.SkipWithError("records were missing");
    }
    state.counters["launch listing ms"] = [] {
        QElapsedTimer timer;
        timer.start();
        benchmark::DoNotOptimize(SearchIndex::Listing::read().size());
        return static_cast<double>(timer.elapsed());
    }();
}

BENCHMARK(BM_SaveOneChange)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeAScriptsSave)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QuitIndexingAllPresent)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Insert100kAndSave)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(2);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillfen-bench"));
    UserDefaults::standard().registerDefaults();
    UserDefaults::standard().setVolatileValue(DefaultsKey::LocaleIdentifier, QStringLiteral("en_US"));
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, false);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
