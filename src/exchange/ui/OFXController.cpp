#include "exchange/ui/OFXController.h"

#include "exchange/OfxStatementReader.h"
#include "exchange/ui/QIFController.h"

#include <QFileDialog>
#include <QMessageBox>

namespace qf {

OFXController::OFXController(QIFController& sheet, QWidget* window) : QObject(window), m_sheet(sheet), m_window(window)
{
}

void OFXController::loadImportOFXPanelWithVaultObject(ManagedObject* vault)
{
    auto* panel = new QFileDialog(m_window, tr("Import OFX"), QString(),
                                  tr("Bank statements (*.ofx *.qfx *.OFX *.QFX)"));
    panel->setObjectName(QStringLiteral("importOFXPanel"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setWindowModality(Qt::WindowModal);
    connect(panel, &QFileDialog::fileSelected, this,
            [this, vault](const QString& path) { loadImportOFXPanelWithQIFFile(path, vault); });
    panel->open();
}

bool OFXController::loadImportOFXPanelWithQIFFile(const QString& path, ManagedObject* vault)
{
    m_vaultObject = vault;
    OfxStatementReader reader;
    Result<OfxStatementReader::Records> records = reader.readFile(path);
    if (!records) {
        auto* alert = new QMessageBox(QMessageBox::Warning, tr("The statement cannot be imported."),
                                      records.message(), QMessageBox::Ok, m_window);
        alert->setObjectName(QStringLiteral("ofxAlert"));
        alert->setAttribute(Qt::WA_DeleteOnClose);
        alert->setWindowModality(Qt::WindowModal);
        alert->open();
        return false;
    }
    m_sheet.showImportPanelWithDelegate(vault, std::move(records).value());
    return true;
}

} // namespace qf
