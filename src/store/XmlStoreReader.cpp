#include "store/XmlStoreReader.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QUuid>
#include <QXmlStreamReader>

#include <cmath>
#include <optional>

namespace qf {

namespace {

// An object as read, before its id and idrefs are resolved to primary keys.
struct PendingObject {
    RawRecord record;
    QString id; // empty when the object has none
    qint64 line = 0;
    std::vector<QStringList> idrefs; // per relationship of the entity
};

// "zN" with N written canonically; other ids get keys of their own later.
std::optional<std::int64_t> keyFromId(const QString& id)
{
    if (id.size() < 2 || id.size() > 17 || id[0] != QLatin1Char('z') || id[1] == QLatin1Char('0'))
        return std::nullopt;
    std::int64_t key = 0;
    for (qsizetype i = 1; i < id.size(); ++i) {
        const char16_t c = id[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        key = key * 10 + (c - u'0');
    }
    return key;
}

class Parser {
public:
    explicit Parser(QIODevice& device) : m_xml(&device) {}

    Result<XmlStoreReader::Document> run();

private:
    Error errorHere(const QString& message) const
    {
        return Error{QStringLiteral("line %1: %2").arg(m_xml.lineNumber()).arg(message),
                     static_cast<int>(std::min<qint64>(m_xml.characterOffset(), INT32_MAX))};
    }
    Error xmlError() const
    {
        return errorHere(QStringLiteral("malformed XML: %1").arg(m_xml.errorString()));
    }
    // Skips the element just started, children included, without recursing.
    std::optional<Error> skipElement();
    std::optional<Error> readDatabaseInfo();
    std::optional<Error> readObject();
    std::optional<Error> readAttribute(const EntityDescription& entity, RawRecord& record);
    Result<XmlStoreReader::Document> resolve();

    QXmlStreamReader m_xml;
    int m_depth = 0; // of the element just started
    StoreMetadata m_metadata;
    bool m_hasNextObjectID = false;
    std::vector<PendingObject> m_objects;
};

std::optional<Error> Parser::skipElement()
{
    int depth = 1;
    while (depth > 0 && !m_xml.atEnd()) {
        switch (m_xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (m_depth + depth++ > XmlStoreReader::kMaxDepth)
                return errorHere(QStringLiteral("elements nested too deeply"));
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        default:
            break;
        }
    }
    if (m_xml.hasError())
        return xmlError();
    return std::nullopt;
}

std::optional<Error> Parser::readDatabaseInfo()
{
    while (m_xml.readNextStartElement()) {
        const QStringView name = m_xml.name();
        if (name == QLatin1String("version") || name == QLatin1String("nextObjectID")) {
            const bool isVersion = name == QLatin1String("version");
            const QString text = m_xml.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement).trimmed();
            if (m_xml.hasError())
                return xmlError();
            bool ok = false;
            const qint64 number = text.toLongLong(&ok);
            if (!ok || number < (isVersion ? 0 : 1) || (isVersion && number > INT32_MAX))
                return errorHere(QStringLiteral("bad number “%1” in <%2>")
                                     .arg(text, isVersion ? QStringLiteral("version") : QStringLiteral("nextObjectID")));
            if (isVersion) {
                m_metadata.version = static_cast<int>(number);
            } else {
                m_metadata.nextObjectID = number;
                m_hasNextObjectID = true;
            }
        } else if (name.compare(QLatin1String("UUID"), Qt::CaseInsensitive) == 0) {
            m_metadata.uuid = m_xml.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement).trimmed();
            if (m_xml.hasError())
                return xmlError();
        } else if (auto error = skipElement()) {
            return error;
        }
    }
    return m_xml.hasError() ? std::optional<Error>(xmlError()) : std::nullopt;
}

std::optional<Error> Parser::readAttribute(const EntityDescription& entity, RawRecord& record)
{
    const QXmlStreamAttributes attributes = m_xml.attributes();
    const int index = entity.indexOfAttributeIgnoringCase(attributes.value(QLatin1String("name")));
    if (index < 0)
        return skipElement(); // an attribute this version no longer has
    const AttributeDescription& description = entity.attributes()[index];
    AttributeType type = description.type;
    attributeTypeFromName(attributes.value(QLatin1String("type")), &type); // unknown or missing: the model's
    const bool base64 = attributes.value(QLatin1String("encoding")) == QLatin1String("base64");
    const qint64 line = m_xml.lineNumber();
    QString text = m_xml.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
    if (m_xml.hasError())
        return xmlError();
    auto bad = [&](const QString& what) {
        return Error{QStringLiteral("line %1: %2 “%3” for %4").arg(line).arg(what, text.left(40), description.name),
                     static_cast<int>(std::min<qint64>(m_xml.characterOffset(), INT32_MAX))};
    };

    Value value;
    switch (type) {
    case AttributeType::String:
        if (base64) {
            const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
            if (!decoded)
                return bad(QStringLiteral("bad base64"));
            value = Value(SharedString::fromUtf8(std::string_view(decoded.decoded.constData(), static_cast<std::size_t>(decoded.decoded.size()))));
        } else {
            value = Value(SharedString::fromQString(text.isNull() ? QStringView(u"") : QStringView(text)));
        }
        break;
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64: {
        bool ok = false;
        const qint64 number = text.trimmed().toLongLong(&ok);
        if (!ok)
            return bad(QStringLiteral("bad number"));
        value = Value(static_cast<std::int64_t>(number));
        break;
    }
    case AttributeType::Float:
    case AttributeType::Double:
    case AttributeType::Date: {
        bool ok = false;
        const double number = text.trimmed().toDouble(&ok);
        if (!ok || !std::isfinite(number))
            return bad(QStringLiteral("bad number"));
        value = type == AttributeType::Date ? Value::date(number) : Value(number);
        break;
    }
    case AttributeType::Bool: {
        const QString word = text.trimmed().toLower();
        if (word == QLatin1String("1") || word == QLatin1String("yes") || word == QLatin1String("true"))
            value = Value::boolean(true);
        else if (word == QLatin1String("0") || word == QLatin1String("no") || word == QLatin1String("false"))
            value = Value::boolean(false);
        else
            return bad(QStringLiteral("bad boolean"));
        break;
    }
    case AttributeType::Binary: {
        QByteArray compact = text.toLatin1();
        compact.replace(' ', "").replace('\n', "").replace('\r', "").replace('\t', "");
        const auto decoded = QByteArray::fromBase64Encoding(compact, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return bad(QStringLiteral("bad base64"));
        value = Value::data(*decoded);
        break;
    }
    }
    record.attributes[static_cast<std::size_t>(index)] = entity.coerce(index, value);
    return std::nullopt;
}

std::optional<Error> Parser::readObject()
{
    const QXmlStreamAttributes attributes = m_xml.attributes();
    const EntityDescription* entity =
        ManagedObjectModel::shared().entityForXmlType(attributes.value(QLatin1String("type")));
    if (!entity)
        return skipElement(); // an entity this version does not know
    PendingObject object;
    object.record.entity = entity;
    object.record.attributes.resize(static_cast<std::size_t>(entity->attributeCount()));
    object.id = attributes.value(QLatin1String("id")).trimmed().toString();
    object.line = m_xml.lineNumber();
    object.idrefs.resize(entity->relationships().size());

    ++m_depth;
    while (m_xml.readNextStartElement()) {
        ++m_depth;
        std::optional<Error> error;
        if (m_xml.name() == QLatin1String("attribute")) {
            error = readAttribute(*entity, object.record);
        } else if (m_xml.name() == QLatin1String("relationship")) {
            const QStringView name = m_xml.attributes().value(QLatin1String("name"));
            for (std::size_t r = 0; r < entity->relationships().size(); ++r) {
                if (name.compare(entity->relationships()[r].name, Qt::CaseInsensitive) == 0)
                    object.idrefs[r] = m_xml.attributes().value(QLatin1String("idrefs")).toString().simplified().split(
                        QLatin1Char(' '), Qt::SkipEmptyParts);
            }
            error = skipElement();
        } else {
            error = skipElement();
        }
        --m_depth;
        if (error)
            return error;
    }
    --m_depth;
    if (m_xml.hasError())
        return xmlError();
    m_objects.push_back(std::move(object));
    return std::nullopt;
}

Result<XmlStoreReader::Document> Parser::run()
{
    if (!m_xml.readNextStartElement()) {
        if (m_xml.hasError())
            return xmlError();
        return errorHere(QStringLiteral("no XML element found"));
    }
    if (m_xml.name() != QLatin1String("database"))
        return errorHere(QStringLiteral("the root element is <%1>, not <database>").arg(m_xml.name()));
    m_depth = 1;
    while (m_xml.readNextStartElement()) {
        ++m_depth;
        std::optional<Error> error;
        if (m_xml.name() == QLatin1String("databaseInfo"))
            error = readDatabaseInfo();
        else if (m_xml.name() == QLatin1String("object"))
            error = readObject();
        else
            error = skipElement();
        --m_depth;
        if (error)
            return *error;
    }
    if (m_xml.hasError())
        return xmlError();
    // Anything after the root other than comments and white space is malformed.
    while (!m_xml.atEnd())
        m_xml.readNext();
    if (m_xml.hasError())
        return xmlError();
    return resolve();
}

Result<XmlStoreReader::Document> Parser::resolve()
{
    QHash<QString, std::size_t> byId;
    std::int64_t maxKey = 0;
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        PendingObject& object = m_objects[i];
        if (object.id.isEmpty())
            continue;
        if (byId.contains(object.id))
            return Error{QStringLiteral("line %1: the object id “%2” is used twice").arg(object.line).arg(object.id), -1};
        byId.insert(object.id, i);
        if (const auto key = keyFromId(object.id)) {
            object.record.primaryKey = *key;
            maxKey = std::max(maxKey, *key);
        }
    }
    // Ids of other forms, and objects without one, are numbered after the
    // largest "zN" so no key is taken twice.
    for (PendingObject& object : m_objects) {
        if (object.record.primaryKey == 0)
            object.record.primaryKey = ++maxKey;
    }

    XmlStoreReader::Document document;
    document.records.reserve(m_objects.size());
    for (PendingObject& object : m_objects) {
        const EntityDescription& entity = *object.record.entity;
        if (!entity.relationships().empty()) {
            object.record.relationships.resize(entity.relationships().size());
            for (std::size_t r = 0; r < entity.relationships().size(); ++r) {
                for (const QString& ref : object.idrefs[r]) {
                    // A reference to a missing object, or one of the wrong entity, is dropped.
                    const auto found = byId.constFind(ref);
                    if (found == byId.constEnd())
                        continue;
                    const RawRecord& target = m_objects[*found].record;
                    if (target.entity->name() == entity.relationships()[r].destinationEntity)
                        object.record.relationships[r].push_back(target.primaryKey);
                }
            }
        }
    }
    for (PendingObject& object : m_objects)
        document.records.push_back(std::move(object.record));

    document.metadata = m_metadata;
    if (document.metadata.uuid.isEmpty())
        document.metadata.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (!m_hasNextObjectID || document.metadata.nextObjectID <= maxKey)
        document.metadata.nextObjectID = maxKey + 1;
    return document;
}

} // namespace

Result<XmlStoreReader::Document> XmlStoreReader::read(QIODevice& device)
{
    return Parser(device).run();
}

Result<XmlStoreReader::Document> XmlStoreReader::read(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return read(buffer);
}

Result<XmlStoreReader::Document> XmlStoreReader::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<Document>::failure(
            QStringLiteral("Could not open %1: %2").arg(QDir::toNativeSeparators(path), file.errorString()));
    Result<Document> document = read(file);
    if (!document)
        return Error{QStringLiteral("%1, %2").arg(QDir::toNativeSeparators(path), document.error().message),
                     document.error().position};
    return document;
}

} // namespace qf
