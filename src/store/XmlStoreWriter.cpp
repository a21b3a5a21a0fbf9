#include "store/XmlStoreWriter.h"

#include <QDir>
#include <QSaveFile>
#include <QXmlStreamWriter>

#include <charconv>

namespace qf {

namespace {

QString shortest(double number, bool singlePrecision)
{
    // The shortest text that reads back to the same float or double.
    char buffer[64];
    const auto result = singlePrecision ? std::to_chars(buffer, buffer + sizeof buffer, static_cast<float>(number))
                                        : std::to_chars(buffer, buffer + sizeof buffer, number);
    return QString::fromLatin1(buffer, result.ptr - buffer);
}

// XML 1.0 cannot carry most control characters, and parsers turn a carriage
// return into a line feed; texts holding such characters go as base64.
bool needsBase64(std::string_view utf8)
{
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto c = static_cast<unsigned char>(utf8[i]);
        if (c < 0x20 && c != '\t' && c != '\n')
            return true;
        // U+FFFE and U+FFFF (EF BF BE/BF) are not XML characters either.
        if (c == 0xEF && i + 2 < utf8.size() && static_cast<unsigned char>(utf8[i + 1]) == 0xBF
            && static_cast<unsigned char>(utf8[i + 2]) >= 0xBE)
            return true;
    }
    // Invalid UTF-8 would be mangled by the round trip through UTF-16.
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size())).toUtf8()
           != QByteArrayView(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

void writeAttribute(QXmlStreamWriter& xml, const AttributeDescription& attribute, const Value& value)
{
    xml.writeStartElement(QStringLiteral("attribute"));
    xml.writeAttribute(QStringLiteral("name"), attribute.name.toLower());
    xml.writeAttribute(QStringLiteral("type"), attributeTypeName(attribute.type));
    switch (attribute.type) {
    case AttributeType::String: {
        const std::string_view text = value.isString() ? value.string().view() : std::string_view();
        if (!value.isString()) {
            xml.writeCharacters(value.toString());
        } else if (needsBase64(text)) {
            xml.writeAttribute(QStringLiteral("encoding"), QStringLiteral("base64"));
            xml.writeCharacters(QString::fromLatin1(QByteArray(text.data(), static_cast<qsizetype>(text.size())).toBase64()));
        } else {
            xml.writeCharacters(value.string().toQString());
        }
        break;
    }
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
        xml.writeCharacters(QString::number(value.toInt()));
        break;
    case AttributeType::Float:
        xml.writeCharacters(shortest(value.toDouble(), true));
        break;
    case AttributeType::Double:
    case AttributeType::Date:
        xml.writeCharacters(shortest(value.toDouble(), false));
        break;
    case AttributeType::Bool:
        xml.writeCharacters(value.toBool() ? QStringLiteral("1") : QStringLiteral("0"));
        break;
    case AttributeType::Binary:
        xml.writeCharacters(QString::fromLatin1(value.toByteArray().toBase64()));
        break;
    }
    xml.writeEndElement();
}

} // namespace

Status XmlStoreWriter::write(QIODevice& device, const StoreMetadata& metadata, const std::vector<RawRecord>& records)
{
    QXmlStreamWriter xml(&device);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("database"));
    xml.writeStartElement(QStringLiteral("databaseInfo"));
    xml.writeTextElement(QStringLiteral("version"), QString::number(metadata.version));
    xml.writeTextElement(QStringLiteral("UUID"), metadata.uuid);
    xml.writeTextElement(QStringLiteral("nextObjectID"), QString::number(metadata.nextObjectID));
    xml.writeEndElement();

    for (const RawRecord& record : records) {
        if (!record.entity || static_cast<int>(record.attributes.size()) != record.entity->attributeCount())
            return Status::failure(QStringLiteral("malformed record %1 in the XML store").arg(record.primaryKey));
        const EntityDescription& entity = *record.entity;
        xml.writeStartElement(QStringLiteral("object"));
        xml.writeAttribute(QStringLiteral("type"), entity.xmlTypeName());
        xml.writeAttribute(QStringLiteral("id"), QStringLiteral("z%1").arg(record.primaryKey));
        for (int i = 0; i < entity.attributeCount(); ++i) {
            const Value& value = record.attributes[static_cast<std::size_t>(i)];
            if (!value.isNull())
                writeAttribute(xml, entity.attributes()[static_cast<std::size_t>(i)], value);
        }
        for (std::size_t r = 0; r < entity.relationships().size() && r < record.relationships.size(); ++r) {
            if (record.relationships[r].empty())
                continue;
            QStringList idrefs;
            for (std::int64_t key : record.relationships[r])
                idrefs.append(QStringLiteral("z%1").arg(key));
            const RelationshipDescription& relationship = entity.relationships()[r];
            xml.writeEmptyElement(QStringLiteral("relationship"));
            xml.writeAttribute(QStringLiteral("name"), relationship.name.toLower());
            xml.writeAttribute(QStringLiteral("type"), relationship.toMany ? QStringLiteral("0/0") : QStringLiteral("1/1"));
            xml.writeAttribute(QStringLiteral("destination"), relationship.destinationEntity.toUpper());
            xml.writeAttribute(QStringLiteral("idrefs"), idrefs.join(QLatin1Char(' ')));
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    if (xml.hasError())
        return Status::failure(QStringLiteral("Could not write the XML store: %1").arg(device.errorString()));
    return Status::ok();
}

Status XmlStoreWriter::writeFile(const QString& path, const StoreMetadata& metadata, const std::vector<RawRecord>& records)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Status::failure(
            QStringLiteral("Could not write %1: %2").arg(QDir::toNativeSeparators(path), file.errorString()));
    if (Status written = write(file, metadata, records); !written) {
        file.cancelWriting();
        return written;
    }
    if (!file.commit())
        return Status::failure(
            QStringLiteral("Could not write %1: %2").arg(QDir::toNativeSeparators(path), file.errorString()));
    return Status::ok();
}

} // namespace qf
