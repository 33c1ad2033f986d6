// A host that links the dialog component: the dialog is made, given labels
// and refuses to open without a registry, which needs no display.
#include <iostream>

#include <tw_varlib_widgets.h>

int main() {
    CPluginsInfoDlg dialog;
    dialog.SetDlgTitle(u"Modules");
    if (dialog.DoModal() != -1 || dialog.GetErrorText().IsEmpty()) {
        std::cerr << "the dialog opened without a registry\n";
        return 1;
    }
    std::cout << "dialog: " << dialog.GetErrorText() << "\n";
    return 0;
}
