#pragma once

#include <QList>
#include <QPair>
#include <QSet>
#include <QString>
#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qf {

class ManagedObject;

// One small property-list file per transaction, "<trans_uniqueID>.quillfenTransItem",
// in the desktop search's cache folder, so a search can find transactions
// and open the app at one. The files hold nothing the store does not; they
// are rebuilt freely.
class SearchIndex {
public:
    static const QString kExtension; // "quillfenTransItem"

    // A transaction's entry as plain values, safe to hand to another thread:
    // "Title", "Amount", "To", "From", "Tags", "Notes" in that order, up to
    // the first value the record lacks.
    struct Entry {
        QString uniqueID;
        QList<QPair<QString, QString>> values;
    };
    static Entry entryOf(const ManagedObject& transaction);
    static QByteArray propertyList(const Entry& entry);

    // The cache folder, made with its parents when missing (desktop caches
    // have no "Metadata" folder of their own). Empty when it cannot be made.
    static QString folder();
    // The record file of an identifier; empty for one that is no safe name.
    static QString fileOf(const QString& uniqueID);

    // With replace, an existing file goes first. Then a missing file is
    // written (atomically); an existing one is left as it is.
    static void indexTransaction(const ManagedObject* transaction, bool replace);
    // dir: the folder when the caller has it already.
    // False when nothing was written (a record kept, or no safe name).
    static bool writeEntry(const Entry& entry, bool replace, const QString& dir = {});
    // The identifiers that have a file: one listing of the folder.
    static QSet<QString> indexedIdentifiers();

    // What the folder held at one listing, kept as 64-bit hashes of the
    // identifiers (8 bytes a record), plus what was added since. A million
    // names are listed in about half a second, so the window lists once, at
    // launch and off the main thread, and quits with a lookup per record.
    class Listing {
    public:
        static Listing read();
        bool contains(std::string_view uniqueID) const;
        void add(std::string_view uniqueID);
        std::size_t size() const { return m_sorted.size() + m_added.size(); }

    private:
        std::vector<std::uint64_t> m_sorted;
        std::unordered_set<std::uint64_t> m_added;
    };

    // Every transaction without a file gets one; existing ones are left.
    // Gives how many were written. Without a listing, the folder is listed
    // once (not looked at per transaction).
    static int indexMissing(const std::vector<ManagedObject*>& transactions);
    static int indexMissing(const std::vector<ManagedObject*>& transactions, Listing& listing);
    static void removeIndexOf(const std::vector<ManagedObject*>& transactions);
    // The folder emptied, then every transaction written afresh.
    static int reindex(const std::vector<ManagedObject*>& transactions);
};

} // namespace qf
