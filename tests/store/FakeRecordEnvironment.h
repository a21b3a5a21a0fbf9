#pragma once

#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <map>

namespace qf::test {

// Absolute time of a local (TZ) date and time.
inline AbsoluteTime localTime(int year, int month, int day, int hour = 0, int minute = 0)
{
    const QDateTime local(QDate(year, month, day), QTime(hour, minute));
    return local.toMSecsSinceEpoch() / 1000.0 - 978307200.0;
}

// A record environment with plain formatters, a settable clock and selection,
// and fetches that answer the few predicate texts the record classes build by
// filtering the context directly (the predicate engine is not under test here).
class FakeRecordEnvironment final : public RecordEnvironment {
public:
    ManagedObjectContext* context = nullptr;
    AbsoluteTime clock = localTime(2024, 5, 15, 12, 0);
    QString selection;
    std::uint64_t generation = 0;
    mutable int formatCalls = 0;
    mutable int idsMade = 0;
    std::map<QString, std::pair<AbsoluteTime, AbsoluteTime>> periods;
    mutable QString lastFormat;
    mutable ValueArray lastArguments;

    QString formatAmount(double amount) const override
    {
        ++formatCalls;
        return QStringLiteral("$%1").arg(amount, 0, 'f', 2);
    }
    QString formatShortDate(AbsoluteTime date) const override
    {
        ++formatCalls;
        return toLocal(date).toString(QStringLiteral("dd/MM/yy"));
    }
    QString formatLongDate(AbsoluteTime date) const override
    {
        ++formatCalls;
        return toLocal(date).toString(QStringLiteral("d MMMM yyyy"));
    }
    AbsoluteTime now() const override { return clock; }
    QString selectedVaultID() const override { return selection; }
    QString createUniqueID() const override { return QStringLiteral("VAULT-ID-%1").arg(++idsMade); }
    QString applicationSupportFolder() const override { return QStringLiteral("/home/user/.local/share/Quillfen"); }
    std::uint64_t formatGeneration() const override { return generation; }

    std::optional<std::pair<AbsoluteTime, AbsoluteTime>> periodBounds(const QString& name) const override
    {
        const auto it = periods.find(name);
        if (it == periods.end())
            return std::nullopt;
        return it->second;
    }

    std::vector<ManagedObject*> fetch(const QString& entityName, const QString& format,
                                      const ValueArray& arguments) const override
    {
        lastFormat = format;
        lastArguments = arguments;
        std::vector<ManagedObject*> result;
        const EntityDescription* entity = ManagedObjectModel::shared().entity(entityName);
        if (!context || !entity)
            return result;
        for (ManagedObject* object : context->objects(*entity)) {
            if (matches(*object, format, arguments))
                result.push_back(object);
        }
        return result;
    }

private:
    static QDate toLocal(AbsoluteTime date)
    {
        return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>((date + 978307200.0) * 1000.0)).date();
    }

    static bool matches(const ManagedObject& object, const QString& format, const ValueArray& arguments)
    {
        if (format == u"budget_vaultID == %@ AND budget_direction == %@")
            return object.valueForKey(u"budget_vaultID") == arguments[0]
                && object.valueForKey(u"budget_direction") == arguments[1];
        if (format == u"vault_uniqueID == %@")
            return object.valueForKey(u"vault_uniqueID") == arguments[0];
        if (format.startsWith(u"trans_date >= %@ AND trans_date <= %@")) {
            const double date = object.valueForKey(u"trans_date").toDouble();
            if (date < arguments[0].toDouble() || date > arguments[1].toDouble())
                return false;
            const QString keywords = object.valueForKey(u"trans_keywords").toString();
            for (std::size_t i = 2; i < arguments.size(); ++i) {
                if (!keywords.contains(arguments[i].toString(), Qt::CaseInsensitive))
                    return false;
            }
            return true;
        }
        ADD_FAILURE() << "unexpected fetch: " << format.toStdString();
        return false;
    }
};

} // namespace qf::test
