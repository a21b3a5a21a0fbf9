#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;

// One row of the source list: a section header or a vault.
struct SourceListRow {
    QString header;                 // set on header rows
    ManagedObject* vault = nullptr; // set on vault rows
    QString iconName;               // "<Kind>_Large_Icon" or "<Kind>_Small_Icon"; empty on headers

    bool isHeader() const { return vault == nullptr; }
};

// Row height and spacing after the icon size.
struct SourceListGeometry {
    int rowHeight;
    int spacing; // horizontal and vertical
};

// What the source list shows, without the list itself: the seven sections
// in order, each vault under its header, headers of empty sections left out
// (the library's always shown), and each row's icon.
class SourceListRows {
public:
    // Empty when a fixed vault is missing: the caller ensures the fixed vaults
    // and builds again. connectedIPodIDs lists the iPods plugged in now.
    static std::vector<SourceListRow> build(const ManagedObjectContext& context, const QString& sourceSize,
                                            const QStringList& connectedIPodIDs = {});

    // The icon kind of a vault ("Master_Vault", "Checking", "FolderShared", ...).
    static QString iconKind(const ManagedObject& vault);
    static QString iconName(const ManagedObject& vault, const QString& sourceSize);
    static bool isLarge(const QString& sourceSize) { return sourceSize == QLatin1String("Large"); }
    static SourceListGeometry geometry(const QString& sourceSize);
    // The menu item that switches the size, and the size it switches to.
    static QString toggleTitle(const QString& sourceSize);
    static QString toggledSize(const QString& sourceSize);
    // Whether a vault of this type may be removed from the list.
    static bool canRemove(const QString& vaultType);
};

} // namespace qf
