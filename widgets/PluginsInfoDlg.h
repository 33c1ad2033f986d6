// CPluginsInfoDlg: a modal information dialog for an operator: the tree of
// all plug-ins, their functions and each function's signatures, with the
// details of the selected item beside it. It only reads the registry, and a
// host can replace every text it shows.
//
// The object is not itself a widget (our choice): a host makes it, sets the
// registry and any label before any QApplication needs to exist, and DoModal
// makes the window, runs it and destroys it. The records on the tree items are
// a snapshot taken when the window opens, owned by the dialog and released
// with the window (CleanUp), so a registry that changes under an open dialog
// leaves it alone. One thread: the one that runs the user interface.
#pragma once

#include <QIcon>
#include <QList>
#include <QPointer>

#include "corelib/framework/String.h"

class CPluginRegistry;
class QDialog;
class QLabel;
class QPushButton;
class QTextEdit;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

class CPluginsInfoDlg {
public:
    // Results of DoModal besides -1 (the window could not open).
    static constexpr int IDOK = 1;       // closed with the OK button
    static constexpr int IDCANCEL = 2;   // closed with Cancel, Escape or the window's close button

    // The default labels and no registry; parent, which may be null, becomes the window's parent.
    explicit CPluginsInfoDlg(QWidget* parent = nullptr);
    // Destroys the window if it is still open.
    virtual ~CPluginsInfoDlg();
    CPluginsInfoDlg(const CPluginsInfoDlg&) = delete;
    CPluginsInfoDlg& operator=(const CPluginsInfoDlg&) = delete;

    // The registry to show; not owned. Set it before DoModal.
    void SetPluginRegistry(CPluginRegistry* registry);

    // The texts of the dialog. Each setter only stores: it works before the
    // window exists and changes nothing in an open one.
    void SetDescriptionLabel(const CString& label);   // third column heading; rich-text label
    void SetVersionLabel(const CString& label);       // rich-text label
    void SetNameLabel(const CString& label);          // first column heading; rich-text label
    void SetTypeLabel(const CString& label);          // second column heading
    void SetInformationLabel(const CString& label);   // caption of the details, stored with ":" added
    void SetReturnValueLabel(const CString& label);   // caption of the return value, stored with ":" added
    void SetParametersLabel(const CString& label);    // caption of the parameters, stored with ":" added
    void SetCancelLabel(const CString& label);        // the Cancel button
    void SetDlgTitle(const CString& title);           // the window title
    void SetSignatureLabel(const CString& label);     // signature items: "<label> <index>"

    // Opens the window, modal, and runs it until it is closed: IDOK or IDCANCEL.
    // -1 when it can't open (no registry, already open, no display, a Qt
    // application object that can't show widgets); GetErrorText says why.
    // Without a QApplication in the process one is made for the call and
    // destroyed after it. What a plug-in throws while the window fills passes
    // through, the window destroyed.
    virtual int DoModal();
    // Why the last DoModal gave -1; empty after one that opened.
    CString GetErrorText() const;

    // Fills the new window: texts, icons, the lists' columns, the tree of the
    // registry's plug-ins with a copy of each record. Returns 1.
    virtual int OnInitDialog();
    // Shows the details of the newly selected item (null: none) in the rich text and the lists.
    void OnTvnSelchangedPluginsTree(QTreeWidgetItem* item);
    // CleanUp, then destroys the window. 1, or 0 when no window was open.
    virtual int DestroyWindow();

protected:
    // Makes the window and its controls, laid out like the platform's template
    // and bound to the control fields below.
    void CreateControls();
    // Shows (non-zero) or hides (0) the two lists and their captions; the rich text and its caption stay.
    void ShowControls(int show);
    // Releases the records on the tree items: plug-in items, and below each the
    // function items and their signature items. A second call finds none.
    void CleanUp();

    QTreeWidget* m_ctrlPluginsTree = nullptr;        // plug-ins, functions, signatures
    QTextEdit* m_ctrlInformation = nullptr;          // details of the selected item, read-only
    QTreeWidget* m_ctrlReturnValueList = nullptr;    // one row: the signature's return value
    QTreeWidget* m_ctrlParametersList = nullptr;     // one row for each parameter
    QLabel* m_ctrlReturnValueCaption = nullptr;
    QLabel* m_ctrlParametersCaption = nullptr;

    CString m_strDescriptionLabel;
    CString m_strVersionLabel;
    CString m_strNameLabel;
    CString m_strTypeLabel;
    CString m_strInformationLabel;
    CString m_strReturnValueLabel;
    CString m_strParametersLabel;
    CString m_strCancelLabel;
    CString m_strDlgTitle;
    CString m_strSignatureLabel;

    QList<QIcon> m_imageList;                         // icons of the tree: plug-in, function, signature
    CPluginRegistry* m_pPluginRegistry = nullptr;     // not owned
    QLabel* m_ctrlInformationCaption = nullptr;

    QPushButton* m_ctrlOk = nullptr;
    QPushButton* m_ctrlCancel = nullptr;
    QWidget* m_pParent = nullptr;
    QPointer<QDialog> m_pWindow;   // null while closed; a guarded pointer, as a parent may delete it
    CString m_strError;
};
