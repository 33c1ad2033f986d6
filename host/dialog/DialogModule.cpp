// The plug-ins dialog of twhost's dialog command, in a module of its own so
// that only this module, never twhost, links Qt.
#include <iostream>
#include <memory>
#include <string>

#include <QDialog>
#include <QPixmap>
#include <QTimer>
#include <QTreeWidget>

#include "host/ExitCode.h"
#include "widgets/PluginsInfoDlg.h"

namespace {

// The dialog that selects a signature, saves a picture of itself and closes:
// a way to show an installation's plug-ins in a document.
class CScreenshotDlg : public CPluginsInfoDlg {
public:
    explicit CScreenshotDlg(std::string strFile) : m_strFile(std::move(strFile)) {}

    int OnInitDialog() override {
        const int result = CPluginsInfoDlg::OnInitDialog();
        if (QTreeWidgetItem* signature = PickSignature())
            m_ctrlPluginsTree->setCurrentItem(signature);
        // Once the window is shown and painted.
        QTimer::singleShot(300, m_pWindow, [this] {
            m_bSaved = m_pWindow->grab().save(QString::fromStdString(m_strFile), "PNG");
            m_pWindow->accept();
        });
        return result;
    }

    bool Saved() const { return m_bSaved; }

private:
    // The first signature with the most parameters, so that the picture shows every part.
    QTreeWidgetItem* PickSignature() const {
        QTreeWidgetItem* best = nullptr;
        int bestRows = -1;
        for (QTreeWidgetItemIterator it(m_ctrlPluginsTree); *it; ++it) {
            QTreeWidgetItem* item = *it;
            if (item->childCount() != 0 || !item->parent() || !item->parent()->parent())
                continue;
            m_ctrlPluginsTree->setCurrentItem(item);
            if (m_ctrlParametersList->topLevelItemCount() > bestRows) {
                best = item;
                bestRows = m_ctrlParametersList->topLevelItemCount();
            }
        }
        return best;
    }

    std::string m_strFile;
    bool m_bSaved = false;
};

}  // namespace

// The entry twhost's dialog command calls (see host/DialogCommand.cpp).
extern "C" __attribute__((visibility("default"))) int TwhostShowDialog(CPluginRegistry* registry,
                                                                        const char* screenshot) {
    std::unique_ptr<CPluginsInfoDlg> dialog;
    CScreenshotDlg* shot = nullptr;
    if (*screenshot == '\0') {
        dialog = std::make_unique<CPluginsInfoDlg>();
    } else {
        dialog = std::make_unique<CScreenshotDlg>(screenshot);
        shot = static_cast<CScreenshotDlg*>(dialog.get());
    }
    dialog->SetPluginRegistry(registry);
    if (dialog->DoModal() == -1) {
        std::cerr << "twhost: the plug-ins dialog can't open: " << dialog->GetErrorText() << '\n';
        return int(EXIT_FAILED);
    }
    if (shot && !shot->Saved()) {
        std::cerr << "twhost: the picture could not be saved to " << screenshot << '\n';
        return int(EXIT_FAILED);
    }
    return int(EXIT_OK);
}
