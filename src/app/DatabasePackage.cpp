#include "app/DatabasePackage.h"

#include "common/Trash.h"
#include "store/StoreSnapshot.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace qf {

const QString DatabasePackage::kExtension = QStringLiteral("quillfenbackup");
const QString DatabasePackage::kStoreName = QStringLiteral("Quillfen.1ccdb");

namespace {

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

// The files SQLite keeps beside a live database: the snapshot of the store
// stands for them.
bool isStoreSideFile(const QString& relative)
{
    return relative == DatabasePackage::kStoreName + QStringLiteral("-wal")
        || relative == DatabasePackage::kStoreName + QStringLiteral("-shm")
        || relative == DatabasePackage::kStoreName + QStringLiteral("-journal");
}

void sync(const QString& path, int flags)
{
    const int fd = ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

QString besideName(const QString& path, const char* what)
{
    const QFileInfo info(path);
    return info.absolutePath() + QStringLiteral("/.") + info.fileName() + QLatin1Char('.') + QLatin1String(what)
         + QLatin1Char('-') + QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
}

// Every file under from, copied to the same place under to (made here);
// the store through a snapshot when live is set.
Status copyTree(const QString& from, const QString& to, bool live)
{
    const QDir source(from);
    if (!QDir().mkpath(to))
        return Status::failure(QStringLiteral("The folder %1 could not be made.").arg(shown(to)));
    QDirIterator it(from, QDir::Files | QDir::Dirs | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    QStringList folders{to};
    while (it.hasNext()) {
        const QFileInfo entry(it.next());
        const QString relative = source.relativeFilePath(entry.filePath());
        const QString target = to + QLatin1Char('/') + relative;
        if (entry.isSymLink())
            continue; // a link could lead anywhere; what it names is not the ledger's
        if (entry.isDir()) {
            if (!QDir().mkpath(target))
                return Status::failure(QStringLiteral("The folder %1 could not be made.").arg(shown(target)));
            folders << target;
            continue;
        }
        if (live && isStoreSideFile(relative))
            continue;
        if (live && relative == DatabasePackage::kStoreName) {
            if (Status copied = StoreSnapshot::write(entry.filePath(), target); !copied)
                return copied;
            continue;
        }
        if (!QFile::copy(entry.filePath(), target))
            return Status::failure(QStringLiteral("The file %1 could not be copied to %2.").arg(shown(entry.filePath()), shown(target)));
        if (QFileInfo(target).size() != entry.size())
            return Status::failure(QStringLiteral("The copy of %1 is incomplete.").arg(shown(entry.filePath())));
        sync(target, O_RDONLY);
    }
    for (const QString& folder : folders)
        sync(folder, O_RDONLY | O_DIRECTORY);
    return Status::ok();
}

} // namespace

QString DatabasePackage::withExtension(const QString& path)
{
    if (QFileInfo(path).suffix().compare(kExtension, Qt::CaseInsensitive) == 0)
        return path;
    return path + QLatin1Char('.') + kExtension;
}

Status DatabasePackage::exportFolder(const QString& dataFolder, const QString& path)
{
    if (!QFileInfo(dataFolder + QLatin1Char('/') + kStoreName).isFile())
        return Status::failure(QStringLiteral("There is no ledger in %1 to export.").arg(shown(dataFolder)));
    if (QFileInfo::exists(path))
        return Status::failure(QStringLiteral("%1 already exists; choose another name.").arg(shown(path)));
    if (!QFileInfo(QFileInfo(path).absolutePath()).isDir())
        return Status::failure(QStringLiteral("The folder %1 does not exist.").arg(shown(QFileInfo(path).absolutePath())));
    const QString partial = besideName(path, "exporting");
    Status done = copyTree(dataFolder, partial, true);
    if (done)
        done = check(partial);
    if (done && std::rename(QFile::encodeName(partial).constData(), QFile::encodeName(path).constData()) != 0)
        done = Status::failure(QStringLiteral("The package could not be named %1.").arg(shown(path)));
    if (!done) {
        QDir(partial).removeRecursively();
        return done;
    }
    sync(QFileInfo(path).absolutePath(), O_RDONLY | O_DIRECTORY);
    return Status::ok();
}

Status DatabasePackage::check(const QString& package)
{
    if (!QFileInfo(package).isDir())
        return Status::failure(QStringLiteral("%1 is not a Quillfen database package.").arg(shown(package)));
    const QString store = package + QLatin1Char('/') + kStoreName;
    if (!QFileInfo(store).isFile())
        return Status::failure(
            QStringLiteral("%1 is not a Quillfen database package: it holds no %2.").arg(shown(package), kStoreName));
    const auto counts = StoreSnapshot::check(store);
    if (!counts)
        return Status::failure(QStringLiteral("The package %1 cannot be used. %2").arg(shown(package), counts.message()));
    return Status::ok();
}

Result<QString> DatabasePackage::importPackage(const QString& package, const QString& dataFolder)
{
    if (Status usable = check(package); !usable)
        return Result<QString>::failure(usable.message());
    const QString copy = besideName(dataFolder, "importing");
    if (!QDir().mkpath(QFileInfo(dataFolder).absolutePath()))
        return Result<QString>::failure(QStringLiteral("The folder %1 could not be made.").arg(shown(QFileInfo(dataFolder).absolutePath())));
    Status copied = copyTree(package, copy, false);
    if (copied)
        copied = check(copy);
    if (!copied) {
        QDir(copy).removeRecursively();
        return Result<QString>::failure(QStringLiteral("Nothing was changed: %1").arg(copied.message()));
    }
    QString trashed;
    if (QFileInfo::exists(dataFolder)) {
        const Result<QString> moved = Trash::move(dataFolder);
        if (!moved) {
            QDir(copy).removeRecursively();
            return Result<QString>::failure(QStringLiteral("Nothing was changed: %1").arg(moved.message()));
        }
        trashed = *moved;
    }
    if (std::rename(QFile::encodeName(copy).constData(), QFile::encodeName(dataFolder).constData()) != 0) {
        return Result<QString>::failure(
            QStringLiteral("The imported data could not be put in place; it is in %1, and the previous data is in %2.")
                .arg(shown(copy), shown(trashed)));
    }
    sync(QFileInfo(dataFolder).absolutePath(), O_RDONLY | O_DIRECTORY);
    return trashed;
}

} // namespace qf
