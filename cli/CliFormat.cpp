#include "CliFormat.h"
#include "common/AbsoluteTime.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/Money.h"
#include "store/ManagedObject.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace qf::cli {

QString plainNumber(double value)
{
    // Callers pass decimal amounts (decimalAmount); six places are far more
    // than any currency uses, and sums keep no noise beyond them.
    QString text = QString::number(value, 'f', 6);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    if (text == QLatin1String("-0"))
        text = QStringLiteral("0");
    return text;
}

QString isoLocalDate(AbsoluteTime date)
{
    return dateTimeFromAbsoluteTime(date).toString(Qt::ISODate);
}

std::optional<AbsoluteTime> parseIsoLocalDate(const QString& text)
{
    for (const char* format : {"yyyy-MM-dd", "yyyy-MM-ddTHH:mm", "yyyy-MM-ddTHH:mm:ss"}) {
        QDateTime parsed = QDateTime::fromString(text, QString::fromLatin1(format));
        if (parsed.isValid()) {
            parsed.setTimeSpec(Qt::LocalTime);
            return absoluteTimeFromDateTime(parsed);
        }
    }
    return std::nullopt;
}

std::optional<double> parseAmount(const QString& text)
{
    bool ok = false;
    const double plain = text.trimmed().toDouble(&ok);
    if (ok && std::isfinite(plain))
        return plain;
    if (Quillfen_AppDelegate* delegate = Quillfen_AppDelegate::sharedInstance()) {
        if (auto parsed = delegate->amountFormatter().parse(text.trimmed()))
            return *parsed;
    }
    return std::nullopt;
}

static QJsonValue jsonValue(const Value& value)
{
    switch (value.type()) {
    case Value::Type::Null:
        return QJsonValue::Null;
    case Value::Type::Bool:
        return value.toBool();
    case Value::Type::Int:
        return static_cast<qint64>(value.toInt());
    case Value::Type::Double:
        return value.toDouble();
    case Value::Type::Date:
        return isoLocalDate(value.toDate());
    case Value::Type::Data:
        return QString::fromLatin1(value.toByteArray().toBase64());
    default:
        return value.toString();
    }
}

QByteArray recordJson(const ManagedObject& record)
{
    const EntityDescription& entity = record.entity();
    QJsonObject object;
    const int keyCount = entity.attributeCount() + static_cast<int>(entity.derivedKeys().size());
    for (int i = 0; i < keyCount; ++i) {
        Value value = record.value(i);
        // Amounts are single precision; print them as typed.
        if (value.type() == Value::Type::Double && i < entity.attributeCount() &&
            entity.attributes()[i].type == AttributeType::Float)
            value = Value(decimalAmount(value.toDouble()));
        object.insert(entity.keyAtIndex(i), jsonValue(value));
    }
    // Related records by their identifiers, which every entity keeps first.
    for (int r = 0; r < static_cast<int>(entity.relationships().size()); ++r) {
        QJsonArray ids;
        for (const ManagedObject* related : record.relatedObjects(r))
            ids.append(related->primitiveValue(0).toString());
        object.insert(entity.relationships()[r].name, ids);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace qf::cli
