#pragma once

#include "CommandLine.h"

#include "editing/SmartRule.h"

#include <QTextStream>
#include <vector>

namespace qf {
class ManagedObject;
class Quillfen_AppDelegate;
struct FilterPredicates;
} // namespace qf

namespace qf::cli {

// Exit statuses of quillfen-cli.
enum ExitCode { Success = 0, Failure = 1, BadUsage = 2 };

// The ledger from a shell: every command opens the store as the desktop app
// does, works through the same core, and quits through the same steps (which
// save the store, except the example store).
class LedgerCli {
public:
    LedgerCli(Quillfen_AppDelegate& delegate, QTextStream& out, QTextStream& err);

    int run(const CommandLine& line);
    // A command that failed part way may have stored what the screen would
    // have kept at that point; then the ledger is saved all the same.
    bool keepsChangesOnFailure() const { return m_keepChangesOnFailure; }
    static QString usage();

private:
    int info(const CommandLine& line);
    int vaults(const CommandLine& line);
    int addVault(const CommandLine& line);
    int add(const CommandLine& line);
    int set(const CommandLine& line);
    int editSmart(const CommandLine& line);
    int show(const CommandLine& line);
    int smartView(const CommandLine& line);
    // Rows as `list` prints them: tab-separated lines, or a JSON array.
    void printTransactions(const std::vector<ManagedObject*>& shown, bool json);
    // Reads --condition and every --rule; an exit code on a bad one.
    int smartRuleOptions(const CommandLine& line, const QString& defaultCondition, std::vector<SmartRule>* rules,
                         QString* condition);
    int remove(const CommandLine& line);
    int list(const CommandLine& line);
    int balance(const CommandLine& line);
    int predicate(const CommandLine& line);
    // In ExchangeCommands.cpp.
    int exportCsv(const CommandLine& line);
    int report(const CommandLine& line);
    // In BudgetCommands.cpp.
    int budgetEdit(const CommandLine& line);
    int budget(const CommandLine& line);
    // In AttachmentCommands.cpp.
    int attach(const CommandLine& line);
    int detach(const CommandLine& line);
    // In DatabaseCommands.cpp.
    int exportDatabase(const CommandLine& line);
    int importDatabase(const CommandLine& line);
    int reindex(const CommandLine& line);
    // In BillCommands.cpp.
    int addBill(const CommandLine& line);
    int bills(const CommandLine& line);
    int pay(const CommandLine& line);

    // The transactions a selection shows, or an exit code on bad options.
    int select(const CommandLine& line, std::vector<ManagedObject*>* shown);
    ManagedObject* vaultNamed(const QString& idOrTitle, const QString& requiredType = {});
    ManagedObject* recordWithID(const QString& uniqueID);
    int fail(int code, const QString& message);
    static const QStringList& selectionOptions();

    Quillfen_AppDelegate& m_delegate;
    QTextStream& m_out;
    QTextStream& m_err;
    bool m_keepChangesOnFailure = false;

};

} // namespace qf::cli
