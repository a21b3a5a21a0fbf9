#pragma once

#include "common/Value.h"

#include <QWidget>

class QListView;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;
class SourceListModel;

// The source list: the vaults under their section headers. It rebuilds on
// every change of the store or of the icon size, keeps the selection across
// rebuilds, takes transactions dropped on folders and accounts, and adds and
// removes vaults.
class SourceController : public QWidget {
    Q_OBJECT

public:
    explicit SourceController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    void refreshSourceTable();
    ManagedObject* selectedVaultObject() const;
    QString selectedVaultType() const;
    QString selectedVaultID() const;
    bool selectControllerWithID(const QString& vaultID);

    // Commands: the add sheet on a tab (a new smart folder goes on to its
    // rules), removal of the selected vault, the
    // icon size.
    void newVault(const QString& vaultType);
    void removeVault();
    void toggleVaultIconSize();
    QString toggleIconSizeTitle() const;

    // The pending-transaction sheet: shows the handed-in transaction and a
    // date; on OK the transaction is made, pending, on that date. Null when
    // cancelled.
    ManagedObject* showPendingSheet(const ValueDictionary& values);

    QListView* listView() const { return m_list; }
    SourceListModel* model() const { return m_model; }

Q_SIGNALS:
    void vaultSelected(qf::ManagedObject* vault);
    // A smart folder's rules are to be edited: it was just added, or its row
    // was double-clicked.
    void smartFolderEditRequested(qf::ManagedObject* vault);
    void transactionsDropped();

private:
    void applyGeometry();

    Quillfen_AppDelegate& m_delegate;
    SourceListModel* m_model;
    QListView* m_list;
};

} // namespace qf
