#pragma once

#include "common/Value.h"

#include <QString>
#include <optional>

namespace qf {
class ManagedObject;
}

namespace qf::cli {

// A number as scripts read it: dot decimal, no grouping, no trailing zeros.
QString plainNumber(double value);
// Local date and time in ISO 8601, without the offset.
QString isoLocalDate(AbsoluteTime date);
// "YYYY-MM-DD" or "YYYY-MM-DDTHH:MM[:SS]" in local time; none when malformed.
std::optional<AbsoluteTime> parseIsoLocalDate(const QString& text);
// An amount typed on the command line: a plain number, or one in the
// ledger's currency format; none when it is neither.
std::optional<double> parseAmount(const QString& text);
// Every stored and derived key of a record as one JSON object, and each
// relationship as an array of the related records' identifiers.
QByteArray recordJson(const ManagedObject& record);

} // namespace qf::cli
