#pragma once

#include "common/Result.h"
#include "store/ManagedObjectContext.h"

#include <QString>
#include <memory>
#include <optional>

namespace qf {

// File names inside the application-support folder.
namespace StoreFile {
inline const QString Current = QStringLiteral("Quillfen.1ccdb");
inline const QString OlderSqlite = QStringLiteral("Quillfen.db");
inline const QString OlderXml = QStringLiteral("Quillfen.xml");
inline const QString XmlBackup = QStringLiteral("BACKUP.xml");
inline const QString Attachments = QStringLiteral("Attachments");
} // namespace StoreFile

// A context on an opened store. When opening failed, the context has no
// store (it works in memory and refuses to save) and error says why.
struct OpenedStore {
    std::unique_ptr<ManagedObjectContext> context;
    std::optional<Error> error;
};

// Chooses, converts and opens store files. Nothing here shows a window: the
// caller presents the error.
class StoreOpener {
public:
    explicit StoreOpener(ObjectFactory factory) : m_factory(std::move(factory)) {}

    // The user's store in folder: "Quillfen.xml" is converted into
    // "Quillfen.1ccdb" and then moved to "BACKUP.xml"; a missing
    // "Quillfen.1ccdb" is converted from "Quillfen.db"; then the current
    // store is opened (and created when there is none).
    OpenedStore openUserStore(const QString& folder) const;

    // A pristine copy of the example in folder, opened from its XML file. The
    // example is never saved.
    OpenedStore openExampleStore(const QString& folder, const QString& exampleSource) const;

    // Converts a store of the older SQLite layout into a new store at toPath.
    // Records are carried over entity by entity; a relationship is linked only
    // when its destination was carried over before it, through a map from
    // each source record's URI to its copy. toPath appears only when the
    // conversion succeeded.
    Status migrateDatabaseFromPath(const QString& fromPath, const QString& toPath) const;

private:
    Status convertXmlStore(const QString& xmlPath, const QString& toPath) const;
    OpenedStore openContext(std::unique_ptr<PersistentStore> store) const;

    ObjectFactory m_factory;
};

} // namespace qf
