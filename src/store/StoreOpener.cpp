#include "store/StoreOpener.h"

#include "store/SqliteStore.h"
#include "store/StoreConversion.h"
#include "store/XmlStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <algorithm>

namespace qf {

namespace {

// Conversions write to a side file first, so a failed or interrupted one
// never leaves a half-filled current store that would hide the older file.
QString partialPath(const QString& path)
{
    return path + QStringLiteral(".converting");
}

void removeSqliteFiles(const QString& path)
{
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(path + QLatin1String(suffix));
}

Status finishConversion(const QString& partial, const QString& target)
{
    if (!QFile::rename(partial, target)) {
        removeSqliteFiles(partial);
        return Status::failure(QStringLiteral("Could not move the converted store to \"%1\".").arg(target));
    }
    return Status::ok();
}

Status copyFolder(const QString& from, const QString& to)
{
    QDir source(from);
    if (!source.exists())
        return Status::failure(QStringLiteral("The example store \"%1\" is missing.").arg(from));
    if (!QDir().mkpath(to))
        return Status::failure(QStringLiteral("Could not create the folder \"%1\".").arg(to));
    const QFileInfoList entries = source.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QFileInfo& entry : entries) {
        const QString target = to + QLatin1Char('/') + entry.fileName();
        if (entry.isDir()) {
            if (Status s = copyFolder(entry.absoluteFilePath(), target); !s)
                return s;
        } else if (!QFile::copy(entry.absoluteFilePath(), target)) {
            return Status::failure(QStringLiteral("Could not copy \"%1\".").arg(entry.absoluteFilePath()));
        }
    }
    return Status::ok();
}

} // namespace

OpenedStore StoreOpener::openContext(std::unique_ptr<PersistentStore> store) const
{
    OpenedStore opened;
    opened.context = std::make_unique<ManagedObjectContext>(std::move(store));
    opened.context->setObjectFactory(m_factory);
    if (Status s = opened.context->load(); !s) {
        opened.error = s.error();
        opened.context = std::make_unique<ManagedObjectContext>();
        opened.context->setObjectFactory(m_factory);
    }
    return opened;
}

static OpenedStore failedStore(const ObjectFactory& factory, Error error)
{
    OpenedStore opened;
    opened.context = std::make_unique<ManagedObjectContext>();
    opened.context->setObjectFactory(factory);
    opened.error = std::move(error);
    return opened;
}

Status StoreOpener::convertXmlStore(const QString& xmlPath, const QString& toPath) const
{
    auto source = XmlStore::open(xmlPath);
    if (!source)
        return source.error();
    const QString partial = partialPath(toPath);
    removeSqliteFiles(partial);
    {
        auto target = SqliteStore::open(partial, SqliteStore::Mode::CreateIfMissing);
        if (!target)
            return target.error();
        if (Status s = copyRecords(**source, **target); !s) {
            target->reset();
            removeSqliteFiles(partial);
            return s;
        }
    }
    return finishConversion(partial, toPath);
}

OpenedStore StoreOpener::openUserStore(const QString& folder) const
{
    if (!QDir().mkpath(folder))
        return failedStore(m_factory, Error{QStringLiteral("Could not create the data folder \"%1\".").arg(folder)});

    const QString current = folder + QLatin1Char('/') + StoreFile::Current;
    const QString xml = folder + QLatin1Char('/') + StoreFile::OlderXml;
    const QString olderSqlite = folder + QLatin1Char('/') + StoreFile::OlderSqlite;

    if (QFileInfo::exists(xml)) {
        if (QFileInfo::exists(current)) {
            // Converting would mix two ledgers; keep both files as they are.
            qWarning("Both \"%s\" and \"%s\" exist; opening the current store and leaving the older one alone.",
                     qPrintable(StoreFile::OlderXml), qPrintable(StoreFile::Current));
        } else {
            if (Status s = convertXmlStore(xml, current); !s)
                return failedStore(m_factory, s.error());
            const QString backup = folder + QLatin1Char('/') + StoreFile::XmlBackup;
            QFile::remove(backup);
            if (!QFile::rename(xml, backup))
                qWarning("Could not move \"%s\" aside to \"%s\".", qPrintable(xml), qPrintable(backup));
        }
    } else if (!QFileInfo::exists(current) && QFileInfo::exists(olderSqlite)) {
        if (Status s = migrateDatabaseFromPath(olderSqlite, current); !s)
            return failedStore(m_factory, s.error());
    }

    auto store = SqliteStore::open(current, SqliteStore::Mode::CreateIfMissing);
    if (!store)
        return failedStore(m_factory, store.error());
    return openContext(std::move(*store));
}

OpenedStore StoreOpener::openExampleStore(const QString& folder, const QString& exampleSource) const
{
    QDir(folder).removeRecursively();
    if (Status s = copyFolder(exampleSource, folder); !s)
        return failedStore(m_factory, s.error());
    auto store = XmlStore::open(folder + QLatin1Char('/') + StoreFile::OlderXml);
    if (!store)
        return failedStore(m_factory, store.error());
    return openContext(std::move(*store));
}

Status StoreOpener::migrateDatabaseFromPath(const QString& fromPath, const QString& toPath) const
{
    auto sourceStore = SqliteStore::open(fromPath, SqliteStore::Mode::MustExist, SqliteStore::Layout::WithoutTransDirection);
    if (!sourceStore)
        return sourceStore.error();
    ManagedObjectContext source(std::move(*sourceStore));
    if (Status s = source.load(); !s)
        return s;

    const QString partial = partialPath(toPath);
    removeSqliteFiles(partial);
    Status result = Status::ok();
    {
        auto targetStore = SqliteStore::open(partial, SqliteStore::Mode::CreateIfMissing);
        if (!targetStore)
            return targetStore.error();
        ManagedObjectContext target(std::move(*targetStore));
        target.setObjectFactory(m_factory);
        target.undoManager().disableUndoRegistration();

        // Entities are walked by name, as the model lists them; rules
        // (SmartEntity) come before the vaults that link to them.
        std::vector<const EntityDescription*> entities = ManagedObjectModel::shared().entities();
        std::sort(entities.begin(), entities.end(),
                  [](const EntityDescription* a, const EntityDescription* b) { return a->name() < b->name(); });

        QHash<QString, ManagedObject*> identityMap;
        identityMap.reserve(10);
        const EntityDescription& trans = ManagedObjectModel::shared().trans();
        const int amountIndex = trans.indexOfAttribute(u"trans_amount");
        const int directionIndex = trans.indexOfAttribute(u"trans_direction");

        for (const EntityDescription* entity : entities) {
            for (ManagedObject* object : source.objects(*entity)) {
                ManagedObject* copy = target.insertNewObject(*entity);
                for (int i = 0; i < entity->attributeCount(); ++i)
                    copy->setValue(i, object->primitiveValue(i));
                if (entity == &trans) {
                    // The older layout keeps no direction: derive it from the sign.
                    const double amount = copy->primitiveValue(amountIndex).toDouble();
                    copy->setValue(directionIndex, amount > 0 ? Value("Incoming")
                                                   : amount < 0 ? Value("Outgoing")
                                                                : Value(""));
                }
                for (int r = 0; r < static_cast<int>(entity->relationships().size()); ++r) {
                    for (ManagedObject* related : object->relatedObjects(r)) {
                        if (ManagedObject* relatedCopy = identityMap.value(related->objectURI()))
                            copy->addRelatedObject(r, relatedCopy);
                    }
                }
                identityMap.insert(object->objectURI(), copy);
            }
        }
        result = target.save();
    }
    if (!result) {
        removeSqliteFiles(partial);
        return result;
    }
    return finishConversion(partial, toPath);
}

} // namespace qf
