#pragma once

#include "store/PersistentStore.h"
#include "support/FileBytes.h"

#include <QFile>
#include <QStringList>
#include <gtest/gtest.h>
#include <initializer_list>
#include <sqlite3.h>
#include <utility>

namespace qf::test {

// A record of the shared model with the named attributes set (coerced as a
// loader would) and the rest null.
inline RawRecord makeRecord(const EntityDescription& entity, std::int64_t key,
                            std::initializer_list<std::pair<const char*, Value>> values,
                            std::vector<std::vector<std::int64_t>> relationships = {})
{
    RawRecord record;
    record.entity = &entity;
    record.primaryKey = key;
    record.attributes.resize(static_cast<std::size_t>(entity.attributeCount()));
    for (const auto& [name, value] : values) {
        const int index = entity.indexOfAttribute(QString::fromLatin1(name));
        EXPECT_GE(index, 0) << name;
        if (index >= 0)
            record.attributes[static_cast<std::size_t>(index)] = entity.coerce(index, value);
    }
    record.relationships = std::move(relationships);
    if (!entity.relationships().empty())
        record.relationships.resize(entity.relationships().size());
    return record;
}

// A value with its type, exact enough that a changed type or a lost digit shows.
inline QString dumpValue(const Value& value)
{
    switch (value.type()) {
    case Value::Type::Int:
        return QStringLiteral("int:%1").arg(value.toInt());
    case Value::Type::Double:
        return QStringLiteral("real:%1").arg(QString::number(value.toDouble(), 'g', 17));
    case Value::Type::Date:
        return QStringLiteral("date:%1").arg(QString::number(value.toDouble(), 'g', 17));
    case Value::Type::Data:
        return QStringLiteral("data:") + QString::fromLatin1(value.toByteArray().toBase64());
    default:
        return value.debugString();
    }
}

// One line per record: entity, key, non-null attributes, relationships.
inline QString dumpRecord(const RawRecord& record)
{
    QStringList parts{QStringLiteral("%1#%2").arg(record.entity->name()).arg(record.primaryKey)};
    for (int i = 0; i < record.entity->attributeCount(); ++i) {
        const Value& value = record.attributes[static_cast<std::size_t>(i)];
        if (!value.isNull())
            parts << record.entity->attributes()[static_cast<std::size_t>(i)].name + QLatin1Char('=') + dumpValue(value);
    }
    for (std::size_t r = 0; r < record.relationships.size(); ++r) {
        QStringList keys;
        for (std::int64_t key : record.relationships[r])
            keys << QString::number(key);
        parts << record.entity->relationships()[r].name + QStringLiteral("=[") + keys.join(QLatin1Char(',')) + QLatin1Char(']');
    }
    return parts.join(QLatin1Char(' '));
}

inline std::string dumpRecords(const std::vector<RawRecord>& records)
{
    QStringList lines;
    for (const RawRecord& record : records)
        lines << dumpRecord(record);
    return lines.join(QLatin1Char('\n')).toStdString();
}

inline std::vector<RawRecord> loadAll(PersistentStore& store)
{
    std::vector<RawRecord> records;
    const Status status = store.load([&](RawRecord&& record) { records.push_back(std::move(record)); });
    EXPECT_TRUE(status.isOk()) << status.message().toStdString();
    return records;
}

// Runs SQL on a file behind the store's back, as another program would.
inline void execSql(const QString& path, const char* sql)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

} // namespace qf::test
