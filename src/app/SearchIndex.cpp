#include "app/SearchIndex.h"

#include "common/SafePathComponent.h"
#include "store/EntityDescription.h"
#include "store/ManagedObject.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <QXmlStreamWriter>
#include <algorithm>
#include <dirent.h>

namespace qf {

const QString SearchIndex::kExtension = QStringLiteral("quillfenTransItem");

SearchIndex::Entry SearchIndex::entryOf(const ManagedObject& transaction)
{
    static const std::pair<const char*, const char16_t*> kKeys[] = {
        {"Title", u"trans_title"}, {"Amount", u"trans_amountStringValue"}, {"To", u"trans_to"},
        {"From", u"trans_from"},   {"Tags", u"trans_keywords"},            {"Notes", u"trans_notes"}};
    Entry entry;
    entry.uniqueID = transaction.valueForKey(u"trans_uniqueID").toString();
    // The entry stops at the first missing value, as search importers expect.
    for (const auto& [name, key] : kKeys) {
        const Value value = transaction.valueForKey(QStringView(key));
        if (value.isNull())
            break;
        entry.values.append({QString::fromLatin1(name), value.toString()});
    }
    return entry;
}

QByteArray SearchIndex::propertyList(const Entry& entry)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(-1);
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("plist"));
    writer.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    writer.writeStartElement(QStringLiteral("dict"));
    for (const auto& [key, value] : entry.values) {
        writer.writeTextElement(QStringLiteral("key"), key);
        writer.writeTextElement(QStringLiteral("string"), value);
    }
    writer.writeEndElement();
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

QString SearchIndex::folder()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)
                       + QStringLiteral("/Metadata/Quillfen");
    return QDir().mkpath(path) ? path : QString();
}

namespace {

QString pathIn(const QString& dir, const QString& uniqueID)
{
    const QString name = uniqueID + QLatin1Char('.') + SearchIndex::kExtension;
    if (dir.isEmpty() || uniqueID.isEmpty() || !SafePathComponent::isSafe(name))
        return {};
    return dir + QLatin1Char('/') + name;
}

} // namespace

QString SearchIndex::fileOf(const QString& uniqueID)
{
    return pathIn(folder(), uniqueID);
}

bool SearchIndex::writeEntry(const Entry& entry, bool replace, const QString& dir)
{
    const QString path = pathIn(dir.isEmpty() ? folder() : dir, entry.uniqueID);
    if (path.isEmpty())
        return false;
    if (replace)
        QFile::remove(path);
    else if (QFile::exists(path))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(propertyList(entry)) < 0 || !file.commit()) {
        qWarning("Could not write the search record %s", qPrintable(path));
        return false;
    }
    return true;
}

void SearchIndex::indexTransaction(const ManagedObject* transaction, bool replace)
{
    if (transaction)
        writeEntry(entryOf(*transaction), replace);
}

QSet<QString> SearchIndex::indexedIdentifiers()
{
    QSet<QString> found;
    const QString dir = folder();
    if (dir.isEmpty())
        return found;
    // readdir alone: a million files are listed without a stat each.
    DIR* listing = ::opendir(QFile::encodeName(dir).constData());
    if (!listing)
        return found;
    const QByteArray suffix = '.' + kExtension.toLatin1();
    while (const dirent* entry = ::readdir(listing)) {
        const QByteArray name(entry->d_name);
        if (name.endsWith(suffix))
            found.insert(QFile::decodeName(name.left(name.size() - suffix.size())));
    }
    ::closedir(listing);
    return found;
}

namespace {

std::uint64_t idHash(std::string_view uniqueID)
{
    return std::hash<std::string_view>{}(uniqueID);
}

} // namespace

SearchIndex::Listing SearchIndex::Listing::read()
{
    Listing listing;
    const QString dir = folder();
    DIR* entries = dir.isEmpty() ? nullptr : ::opendir(QFile::encodeName(dir).constData());
    if (!entries)
        return listing;
    const std::string_view suffix = ".quillfenTransItem";
    while (const dirent* entry = ::readdir(entries)) {
        const std::string_view name(entry->d_name);
        if (name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix)
            listing.m_sorted.push_back(idHash(name.substr(0, name.size() - suffix.size())));
    }
    ::closedir(entries);
    std::sort(listing.m_sorted.begin(), listing.m_sorted.end());
    return listing;
}

bool SearchIndex::Listing::contains(std::string_view uniqueID) const
{
    const std::uint64_t hash = idHash(uniqueID);
    return std::binary_search(m_sorted.begin(), m_sorted.end(), hash) || m_added.count(hash) != 0;
}

void SearchIndex::Listing::add(std::string_view uniqueID)
{
    m_added.insert(idHash(uniqueID));
}

int SearchIndex::indexMissing(const std::vector<ManagedObject*>& transactions)
{
    Listing listing = Listing::read();
    return indexMissing(transactions, listing);
}

int SearchIndex::indexMissing(const std::vector<ManagedObject*>& transactions, Listing& listing)
{
    const QString dir = folder();
    if (dir.isEmpty())
        return 0;
    const int idKey = ManagedObjectModel::shared().trans().indexOfAttribute(u"trans_uniqueID");
    int written = 0;
    for (const ManagedObject* t : transactions) {
        const SharedString& id = t->primitiveValue(idKey).string();
        // A hash collision (about one in 10^7 at a million records) leaves
        // one record unwritten until the next re-index.
        if (id.isEmpty() || listing.contains(id.view()))
            continue;
        if (writeEntry(entryOf(*t), false, dir))
            ++written;
        listing.add(id.view());
    }
    return written;
}

void SearchIndex::removeIndexOf(const std::vector<ManagedObject*>& transactions)
{
    for (const ManagedObject* t : transactions) {
        const QString path = fileOf(t->valueForKey(u"trans_uniqueID").toString());
        if (!path.isEmpty())
            QFile::remove(path);
    }
}

int SearchIndex::reindex(const std::vector<ManagedObject*>& transactions)
{
    const QString dir = folder();
    if (!dir.isEmpty())
        QDir(dir).removeRecursively();
    const QString fresh = folder();
    int written = 0;
    for (const ManagedObject* t : transactions) {
        written += writeEntry(entryOf(*t), false, fresh) ? 1 : 0;
    }
    return written;
}

} // namespace qf
