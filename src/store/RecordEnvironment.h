#pragma once

#include "common/Value.h"

#include <QString>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace qf {

class ManagedObject;

// What the record classes need from the application to compute their derived
// keys: formatters, the clock, the source list's selection and fetches. The
// application delegate supplies it; tests supply their own.
class RecordEnvironment {
public:
    virtual ~RecordEnvironment() = default;

    virtual QString formatAmount(double amount) const = 0;       // currency style
    virtual QString formatShortDate(AbsoluteTime date) const = 0; // short style, no time
    virtual QString formatLongDate(AbsoluteTime date) const = 0;  // long style, no time
    virtual AbsoluteTime now() const = 0;
    // vault_uniqueID of the vault selected in the source list; null when none.
    virtual QString selectedVaultID() const = 0;
    virtual QString createUniqueID() const = 0;
    // The data folder of the open store; photos and attachments lie under it.
    virtual QString applicationSupportFolder() const = 0;
    // Changes whenever the formatters do (another locale): records then drop
    // the texts they formatted and cached.
    virtual std::uint64_t formatGeneration() const { return 0; }
    // Localised form of a stored word ("Incoming", "Transfer", ...).
    virtual QString localized(const QString& word) const { return word; }
    // Bounds of a named period ("This Month", ...), both at 00:00:00; none for other names.
    virtual std::optional<std::pair<AbsoluteTime, AbsoluteTime>> periodBounds(const QString& name) const = 0;
    // Records of an entity matching a predicate text with its arguments.
    virtual std::vector<ManagedObject*> fetch(const QString& entityName, const QString& predicateFormat,
                                              const ValueArray& arguments) const = 0;
};

} // namespace qf
