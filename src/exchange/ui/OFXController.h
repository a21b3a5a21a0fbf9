#pragma once

#include <QObject>
#include <QString>

class QWidget;

namespace qf {

class ManagedObject;
class QIFController;

// Starts the import of a bank statement (.ofx or .qfx): reads it and hands
// its transactions to the import sheet, where they start unchecked. A file
// that cannot be read shows an alert with the reason.
class OFXController : public QObject {
    Q_OBJECT

public:
    // Panels and alerts open window-modal on the window.
    OFXController(QIFController& sheet, QWidget* window);

    // Asks for a statement file, then goes on as below; nothing on cancel.
    void loadImportOFXPanelWithVaultObject(ManagedObject* vault);
    // False (and an alert) when the file cannot be read.
    bool loadImportOFXPanelWithQIFFile(const QString& path, ManagedObject* vault);
    ManagedObject* vaultObject() const { return m_vaultObject; }

private:
    QIFController& m_sheet;
    QWidget* m_window;
    ManagedObject* m_vaultObject = nullptr;
};

} // namespace qf
