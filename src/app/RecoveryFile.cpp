#include "app/RecoveryFile.h"

#include "attachments/AttachmentFiles.h"
#include "store/EntityDescription.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <optional>

namespace qf {

namespace {

const QLatin1String kFormatKey("quillfenRecovery");

QLatin1String kindName(RecordChange::Kind kind)
{
    switch (kind) {
    case RecordChange::Kind::Insert:
        return QLatin1String("insert");
    case RecordChange::Kind::Update:
        return QLatin1String("update");
    case RecordChange::Kind::Delete:
        break;
    }
    return QLatin1String("delete");
}

std::optional<RecordChange::Kind> kindNamed(const QString& name)
{
    for (auto kind : {RecordChange::Kind::Insert, RecordChange::Kind::Update, RecordChange::Kind::Delete}) {
        if (name == kindName(kind))
            return kind;
    }
    return std::nullopt;
}

QJsonValue toJson(const Value& value, AttributeType type)
{
    if (value.isNull())
        return QJsonValue::Null;
    switch (type) {
    case AttributeType::String:
        return value.toString();
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
        return static_cast<qint64>(value.toInt());
    case AttributeType::Float:
    case AttributeType::Double:
    case AttributeType::Date:
        return value.toDouble();
    case AttributeType::Bool:
        return value.toBool();
    case AttributeType::Binary:
        return QString::fromLatin1(value.toByteArray().toBase64());
    }
    return QJsonValue::Null;
}

std::optional<Value> fromJson(const QJsonValue& json, AttributeType type)
{
    if (json.isNull())
        return Value();
    switch (type) {
    case AttributeType::String:
        return json.isString() ? std::optional<Value>(Value(json.toString())) : std::nullopt;
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
        if (!json.isDouble() || std::trunc(json.toDouble()) != json.toDouble())
            return std::nullopt;
        return Value(static_cast<std::int64_t>(json.toInteger()));
    case AttributeType::Float:
    case AttributeType::Double:
        return json.isDouble() ? std::optional<Value>(Value(json.toDouble())) : std::nullopt;
    case AttributeType::Date:
        return json.isDouble() ? std::optional<Value>(Value::date(json.toDouble())) : std::nullopt;
    case AttributeType::Bool:
        return json.isBool() ? std::optional<Value>(Value::boolean(json.toBool())) : std::nullopt;
    case AttributeType::Binary: {
        if (!json.isString())
            return std::nullopt;
        auto decoded = QByteArray::fromBase64Encoding(json.toString().toLatin1(),
                                                      QByteArray::AbortOnBase64DecodingErrors);
        return decoded ? std::optional<Value>(Value::data(*decoded)) : std::nullopt;
    }
    }
    return std::nullopt;
}

QJsonObject changeToJson(const RecordChange& change)
{
    const EntityDescription& entity = *change.entity;
    QJsonObject object{{QStringLiteral("change"), kindName(change.kind)},
                       {QStringLiteral("entity"), entity.name()},
                       {QStringLiteral("uniqueID"), change.uniqueID}};
    if (change.kind == RecordChange::Kind::Delete)
        return object;
    QJsonObject values;
    for (const auto& [attribute, value] : change.values) {
        const AttributeDescription& description = entity.attributes()[attribute];
        values.insert(description.name, toJson(value, description.type));
    }
    QJsonObject relationships;
    for (const auto& [relationship, ids] : change.relationships)
        relationships.insert(entity.relationships()[relationship].name, QJsonArray::fromStringList(ids));
    object.insert(QStringLiteral("values"), values);
    object.insert(QStringLiteral("relationships"), relationships);
    return object;
}

Result<RecordChange> changeFromJson(const QJsonValue& json)
{
    using R = Result<RecordChange>;
    if (!json.isObject())
        return R::failure(QStringLiteral("not an object"));
    const QJsonObject object = json.toObject();
    RecordChange change;
    const auto kind = kindNamed(object.value(QStringLiteral("change")).toString());
    if (!kind)
        return R::failure(QStringLiteral("\"change\" is none of insert, update and delete"));
    change.kind = *kind;
    const QString entityName = object.value(QStringLiteral("entity")).toString();
    change.entity = ManagedObjectModel::shared().entity(entityName);
    if (!change.entity)
        return R::failure(QStringLiteral("unknown entity \"%1\"").arg(entityName));
    change.uniqueID = object.value(QStringLiteral("uniqueID")).toString();
    if (change.uniqueID.isEmpty())
        return R::failure(QStringLiteral("no uniqueID"));
    if (change.kind == RecordChange::Kind::Delete)
        return change;

    const EntityDescription& entity = *change.entity;
    const QJsonValue values = object.value(QStringLiteral("values"));
    const QJsonValue relationships = object.value(QStringLiteral("relationships"));
    if (!values.isObject() || !relationships.isObject())
        return R::failure(QStringLiteral("\"values\" and \"relationships\" must be objects"));
    const QJsonObject valueObject = values.toObject();
    for (auto it = valueObject.begin(); it != valueObject.end(); ++it) {
        const int attribute = entity.indexOfAttribute(it.key());
        if (attribute < 0)
            return R::failure(QStringLiteral("\"%1\" is no key of %2").arg(it.key(), entity.name()));
        std::optional<Value> value = fromJson(it.value(), entity.attributes()[attribute].type);
        if (!value)
            return R::failure(QStringLiteral("the value of \"%1\" is not a %2")
                                  .arg(it.key(), attributeTypeName(entity.attributes()[attribute].type)));
        change.values.emplace_back(attribute, std::move(*value));
    }
    const QJsonObject relationshipObject = relationships.toObject();
    for (auto it = relationshipObject.begin(); it != relationshipObject.end(); ++it) {
        const int relationship = entity.indexOfRelationship(it.key());
        if (relationship < 0)
            return R::failure(QStringLiteral("\"%1\" is no relationship of %2").arg(it.key(), entity.name()));
        QStringList ids;
        const auto listsIDs = [&ids](const QJsonValue& list) {
            if (!list.isArray())
                return false;
            for (const QJsonValue id : list.toArray()) {
                if (!id.isString() || id.toString().isEmpty())
                    return false;
                ids << id.toString();
            }
            return true;
        };
        if (!listsIDs(it.value()))
            return R::failure(QStringLiteral("\"%1\" must list uniqueIDs").arg(it.key()));
        change.relationships.emplace_back(relationship, ids);
    }
    return change;
}

// path with the suffix, or with "-2", "-3", … after it when that is taken.
QString freeSibling(const QString& path, const QString& suffix)
{
    const QString base = path + suffix;
    QString candidate = base;
    for (int n = 2; QFileInfo::exists(candidate); ++n)
        candidate = base + QStringLiteral("-%1").arg(n);
    return candidate;
}

QString timestamp()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
}

} // namespace

QString RecoveryFile::pathInFolder(const QString& dataFolder)
{
    return dataFolder + QStringLiteral("/Quillfen.1ccdb.recovery");
}

QByteArray RecoveryFile::serialize(const UnsavedChanges& changes)
{
    QJsonArray array;
    for (const RecordChange& change : changes.changes())
        array.append(changeToJson(change));
    const QJsonObject root{{kFormatKey, kVersion}, {QStringLiteral("changes"), array}};
    return QJsonDocument(root).toJson(QJsonDocument::Indented);
}

Result<UnsavedChanges> RecoveryFile::parse(const QByteArray& bytes)
{
    using R = Result<UnsavedChanges>;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return R::failure(error.errorString(), error.offset);
    const QJsonObject root = document.object();
    if (!document.isObject() || root.value(kFormatKey).toInt(-1) != kVersion)
        return R::failure(QStringLiteral("not a recovery file of version %1").arg(kVersion));
    if (!root.value(QStringLiteral("changes")).isArray())
        return R::failure(QStringLiteral("no list of changes"));
    UnsavedChanges changes;
    const QJsonArray array = root.value(QStringLiteral("changes")).toArray();
    for (qsizetype i = 0; i < array.size(); ++i) {
        Result<RecordChange> change = changeFromJson(array.at(i));
        if (!change)
            return R::failure(QStringLiteral("change %1: %2").arg(i + 1).arg(change.message()));
        changes.append(std::move(*change));
    }
    return changes;
}

Result<QString> RecoveryFile::write(const QString& path, const UnsavedChanges& changes)
{
    QString target = path;
    UnsavedChanges all;
    if (QFileInfo::exists(path)) {
        if (Result<UnsavedChanges> earlier = read(path))
            all = std::move(*earlier);
        else
            target = freeSibling(path, QLatin1Char('-') + timestamp());
    }
    all.appendAll(changes);
    if (Status written = AttachmentFiles::writeAtomically(target, serialize(all)); !written)
        return written.error();
    return target;
}

Result<UnsavedChanges> RecoveryFile::read(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<UnsavedChanges>::failure(QStringLiteral("Could not read %1: %2").arg(path, file.errorString()));
    Result<UnsavedChanges> parsed = parse(file.readAll());
    if (!parsed)
        return Error{QStringLiteral("%1 is not a readable recovery file: %2").arg(path, parsed.error().message),
                     parsed.error().position};
    return parsed;
}

Result<QString> RecoveryFile::setAside(const QString& path)
{
    const QString target = freeSibling(path, QStringLiteral(".set-aside-") + timestamp());
    if (!QFile::rename(path, target))
        return Result<QString>::failure(QStringLiteral("Could not rename %1 to %2").arg(path, target));
    return target;
}

} // namespace qf
