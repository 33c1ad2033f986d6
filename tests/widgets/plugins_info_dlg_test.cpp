// The plug-ins dialog on a registry filled by hand with modules of this file,
// opened modal as a host opens it; the checks run inside the open window.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <QApplication>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "varlib/plugins/PluginRegistry.h"
#include "widgets/PluginsInfoDlg.h"

namespace {

using Lines = std::vector<std::string>;

std::string Utf8(const QString& text) { return text.toStdString(); }

CVariableMetaInfo Meta(const char16_t* name, eVariableType type, const char16_t* description) {
    CVariableMetaInfo meta;
    meta.SetName(name);
    meta.SetType(type);
    meta.SetDescription(description);
    return meta;
}

CFunctionSignature Signature(const char16_t* description, const CVariableMetaInfo& result,
                             std::initializer_list<CVariableMetaInfo> parameters) {
    CFunctionSignature signature;
    signature.SetDescription(description);
    signature.SetReturnValue(result);
    CArray<CVariableMetaInfo, const CVariableMetaInfo&> list;
    for (const CVariableMetaInfo& parameter : parameters)
        list.Add(parameter);
    signature.SetParameters(list);
    return signature;
}

// What the test modules declare; a test changes the description to see that an
// open dialog keeps what it read when it opened.
CString g_alphaDescription = u"Pings hosts";
int g_metaInfoCalls = 0;

CModuleMetaInfo AlphaMetaInfo() {
    ++g_metaInfoCalls;
    CModuleMetaInfo::CFunctionMap functions;
    CString ping(u"Ping");
    CFunctionSignature forms[] = {
        Signature(u"Everyone", Meta(u"reached", VT_INT, u"How many answered"), {}),
        Signature(u"One host", Meta(u"reached", VT_INT, u"1 if it answered"), {Meta(u"host", VT_STRING, u"Name or address")}),
        Signature(u"Odd type", Meta(u"value", static_cast<eVariableType>(12345), u"From later"),
                  {Meta(u"count", VT_INT, u"Times"), Meta(u"rows", VT_ARRAY, u"Hosts")}),
    };
    for (CFunctionSignature& form : forms)
        functions[ping].Add(form);
    CModuleMetaInfo info;
    info.SetName(u"Alpha");
    info.SetDescription(g_alphaDescription);
    info.SetVersion(u"1.2");
    info.SetFunctionsMetaInfo(functions);
    return info;
}

CModuleMetaInfo EmptyMetaInfo() {
    ++g_metaInfoCalls;
    CModuleMetaInfo info;
    info.SetName(u"Empty");
    info.SetDescription(u"Declares nothing");
    info.SetVersion(u"0.1");
    return info;
}

void NoCleanUp() {}

// A registry filled as Load fills it: a module is a proxy of functions of
// this file; one without them failed to load.
class CTestRegistry : public CPluginRegistry {
public:
    void Add(const char16_t* file, CPluginProxy::PFN_GETMETAINFO metaInfo) {
        m_arrPluginNames.Add(file);
        if (!metaInfo) {
            m_arrFailedPlugins.Add(file);
            return;
        }
        // As the loader hands out addresses: untyped.
        const auto address = [](auto function) { return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function)); };
        CPluginProxy proxy(nullptr, nullptr, address(metaInfo), address(NoCleanUp));
        m_mapPlugins.SetAt(file, proxy);
    }
};

// alpha.twp (one function of three signatures), empty.twp (no functions), broken.twp (failed).
void AddThreeModules(CTestRegistry& registry) {
    registry.Add(u"alpha.twp", AlphaMetaInfo);
    registry.Add(u"empty.twp", EmptyMetaInfo);
    registry.Add(u"broken.twp", nullptr);
}

// The controls by object name, in window order.
const Lines kAllControls = {"pluginsTree",     "informationCaption", "information",    "returnValueCaption",
                            "returnValueList", "parametersCaption",  "parametersList", "ok",
                            "cancel"};
const Lines kWithoutLists = {"pluginsTree", "informationCaption", "information", "ok", "cancel"};

// A host's own QApplication on the platform the environment names.
struct CHostApp {
    int argc = 1;
    char name[13] = "test_widgets";
    char* argv[2] = {name, nullptr};
    QApplication app{argc, argv};
};

// Runs probe in the open window once its loop runs, then closes it with OK or Cancel.
class CProbeDlg : public CPluginsInfoDlg {
public:
    std::function<void(CProbeDlg&)> probe;
    bool bAccept = false;

    int OnInitDialog() override {
        const int result = CPluginsInfoDlg::OnInitDialog();
        QTimer::singleShot(0, m_pWindow, [this] {
            if (probe)
                probe(*this);
            bAccept ? m_pWindow->accept() : m_pWindow->reject();
        });
        return result;
    }

    using CPluginsInfoDlg::m_ctrlInformation;
    using CPluginsInfoDlg::m_ctrlParametersList;
    using CPluginsInfoDlg::m_ctrlPluginsTree;
    using CPluginsInfoDlg::m_ctrlReturnValueList;
    using CPluginsInfoDlg::m_imageList;
    using CPluginsInfoDlg::m_pWindow;

    template <typename Widget>
    Widget* Find(const char* name) const { return m_pWindow->findChild<Widget*>(name); }
    std::string Caption(const char* name) const { return Utf8(Find<QLabel>(name)->text()); }

    // The controls that show, by object name, in window order.
    Lines Shown() const {
        Lines names;
        for (const std::string& name : kAllControls)
            if (Find<QWidget>(name.c_str())->isVisible())
                names.push_back(name);
        return names;
    }

    // The tree, two blanks of indent a level, each item with the image its icon came from.
    Lines Tree() const {
        Lines lines;
        for (QTreeWidgetItemIterator it(m_ctrlPluginsTree); *it; ++it) {
            int depth = 0;
            for (QTreeWidgetItem* up = (*it)->parent(); up; up = up->parent())
                ++depth;
            const qint64 key = (*it)->icon(0).cacheKey();
            int image = 0;
            while (image < m_imageList.size() && m_imageList[image].cacheKey() != key)
                ++image;
            lines.push_back(std::string(2 * depth, ' ') + Utf8((*it)->text(0)) + " #" + std::to_string(image));
        }
        return lines;
    }

    // The rich text, one line a paragraph, with the bold parts in brackets.
    std::string Details() const {
        std::string text;
        for (QTextBlock block = m_ctrlInformation->document()->begin(); block.isValid(); block = block.next()) {
            if (block != m_ctrlInformation->document()->begin())
                text += "\n";
            for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
                const bool bBold = fragment.fragment().charFormat().fontWeight() >= QFont::Bold;
                text += (bBold ? "[" : "") + Utf8(fragment.fragment().text()) + (bBold ? "]" : "");
            }
        }
        return text;
    }

    void Select(std::initializer_list<int> path) const {
        QTreeWidgetItem* item = nullptr;
        for (const int index : path)
            item = item ? item->child(index) : m_ctrlPluginsTree->topLevelItem(index);
        m_ctrlPluginsTree->setCurrentItem(item);
    }
};

// The rows of a list as "cell|cell|cell".
Lines Rows(const QTreeWidget* list) {
    Lines rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = list->topLevelItem(i);
        rows.push_back(Utf8(item->text(0) + "|" + item->text(1) + "|" + item->text(2)));
    }
    return rows;
}

Lines Headings(const QTreeWidget* list) {
    const QTreeWidgetItem* header = list->headerItem();
    return {Utf8(header->text(0)), Utf8(header->text(1)), Utf8(header->text(2))};
}

// Sets a variable of the environment for one scope, then puts back the old value.
class CScopedEnv {
public:
    CScopedEnv(const char* name, const char* value) : m_name(name) {
        if (const char* old = ::getenv(name))
            m_old = old;
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~CScopedEnv() { m_old ? ::setenv(m_name, m_old->c_str(), 1) : ::unsetenv(m_name); }

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

}  // namespace

TEST(PluginsInfoDlg, OpensOnTheRegistrysTreeWithDefaultTexts) {
    CTestRegistry registry;
    AddThreeModules(registry);
    g_metaInfoCalls = 0;
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.bAccept = true;
    dialog.probe = [](CProbeDlg& dlg) {
        EXPECT_EQ(dlg.Tree(), (Lines{"alpha.twp #0", "  Ping #1", "    Signature 0 #2", "    Signature 1 #2",
                                     "    Signature 2 #2", "empty.twp #0", "broken.twp #0"}));
        EXPECT_EQ(g_metaInfoCalls, 2);   // once for each loaded module
        // Until the first selection every control shows, and they are empty.
        EXPECT_EQ(dlg.Shown(), kAllControls);
        EXPECT_EQ(dlg.Details(), "");
        EXPECT_EQ(Rows(dlg.m_ctrlReturnValueList), Lines{});
        EXPECT_TRUE(dlg.m_ctrlInformation->isReadOnly());
        EXPECT_EQ(Utf8(dlg.m_pWindow->windowTitle()), "Plugins");
        EXPECT_EQ(dlg.Caption("informationCaption"), "Information:");
        EXPECT_EQ(dlg.Caption("returnValueCaption"), "Return Value:");
        EXPECT_EQ(dlg.Caption("parametersCaption"), "Parameters:");
        EXPECT_EQ(Utf8(dlg.Find<QPushButton>("ok")->text()), "OK");
        EXPECT_EQ(Utf8(dlg.Find<QPushButton>("cancel")->text()), "Cancel");
        for (const QTreeWidget* list : {dlg.m_ctrlReturnValueList, dlg.m_ctrlParametersList}) {
            EXPECT_EQ(Headings(list), (Lines{"Name", "Type", "Description"}));
            const int width = list->width();
            EXPECT_EQ(list->columnWidth(0), static_cast<int>(width * 0.25));
            EXPECT_EQ(list->columnWidth(1), static_cast<int>(width * 0.25));
            EXPECT_EQ(list->columnWidth(2), static_cast<int>(width * 0.5 - 4));
            EXPECT_EQ(list->selectionBehavior(), QAbstractItemView::SelectRows);
        }
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDOK) << dialog.GetErrorText();
    EXPECT_EQ(QCoreApplication::instance(), nullptr);   // the one made for the dialog is gone with it
}

TEST(PluginsInfoDlg, SelectionShowsTheItemsDetails) {
    struct Step {
        std::initializer_list<int> path;
        std::string details;   // bold parts in brackets
        Lines shown, returnValue, parameters;
    };
    const Step steps[] = {
        {{0}, "[Name:\t\t]Alpha\n[Description:\t]Pings hosts\n[Version:\t\t]1.2", kWithoutLists, {}, {}},
        {{0, 0, 2}, "[Description:\t]Odd type", kAllControls, {"value|UNDEFINED|From later"},
         {"count|INT|Times", "rows|ARRAY|Hosts"}},
        // A function hides the lists, which keep their rows, and empties the details.
        {{0, 0}, "", kWithoutLists, {"value|UNDEFINED|From later"}, {"count|INT|Times", "rows|ARRAY|Hosts"}},
        {{0, 0, 0}, "[Description:\t]Everyone", kAllControls, {"reached|INT|How many answered"}, {}},
        {{0, 0, 1}, "[Description:\t]One host", kAllControls, {"reached|INT|1 if it answered"},
         {"host|STRING|Name or address"}},
        {{1}, "[Name:\t\t]Empty\n[Description:\t]Declares nothing\n[Version:\t\t]0.1", kWithoutLists,
         {"reached|INT|1 if it answered"}, {"host|STRING|Name or address"}},
        // A module that failed to load has an empty record.
        {{2}, "[Name:\t\t]\n[Description:\t]\n[Version:\t\t]", kWithoutLists, {"reached|INT|1 if it answered"},
         {"host|STRING|Name or address"}},
    };
    CTestRegistry registry;
    AddThreeModules(registry);
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.probe = [&steps](CProbeDlg& dlg) {
        // The dialog shows what it read when it opened.
        g_alphaDescription = u"Changed after the dialog opened";
        for (const Step& step : steps) {
            dlg.Select(step.path);
            SCOPED_TRACE(Utf8(dlg.m_ctrlPluginsTree->currentItem()->text(0)));
            EXPECT_EQ(dlg.Details(), step.details);
            EXPECT_EQ(dlg.Shown(), step.shown);
            EXPECT_EQ(Rows(dlg.m_ctrlReturnValueList), step.returnValue);
            EXPECT_EQ(Rows(dlg.m_ctrlParametersList), step.parameters);
        }
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDCANCEL) << dialog.GetErrorText();
    g_alphaDescription = u"Pings hosts";
}

TEST(PluginsInfoDlg, LabelSettersReplaceEveryText) {
    CTestRegistry registry;
    AddThreeModules(registry);
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.SetNameLabel(u"Title");
    dialog.SetTypeLabel(u"Kind");
    dialog.SetDescriptionLabel(u"Summary");
    dialog.SetVersionLabel(u"Release");
    dialog.SetInformationLabel(u"Details");
    dialog.SetReturnValueLabel(u"Result");
    dialog.SetParametersLabel(u"Arguments");
    dialog.SetCancelLabel(u"Close");
    dialog.SetDlgTitle(u"Modules");
    dialog.SetSignatureLabel(u"Form");
    dialog.probe = [&dialog](CProbeDlg& dlg) {
        dialog.SetDlgTitle(u"Too late");   // a setter changes nothing in an open window
        EXPECT_EQ(Utf8(dlg.m_pWindow->windowTitle()), "Modules");
        EXPECT_EQ(dlg.Caption("informationCaption"), "Details:");
        EXPECT_EQ(dlg.Caption("returnValueCaption"), "Result:");
        EXPECT_EQ(dlg.Caption("parametersCaption"), "Arguments:");
        EXPECT_EQ(Utf8(dlg.Find<QPushButton>("cancel")->text()), "Close");
        EXPECT_EQ(Utf8(dlg.Find<QPushButton>("ok")->text()), "OK");
        EXPECT_EQ(Headings(dlg.m_ctrlParametersList), (Lines{"Title", "Kind", "Summary"}));
        EXPECT_EQ(dlg.Tree()[2], "    Form 0 #2");
        dlg.Select({0});
        EXPECT_EQ(dlg.Details(), "[Title:\t\t]Alpha\n[Summary:\t]Pings hosts\n[Release:\t\t]1.2");
        dlg.Select({0, 0, 1});
        EXPECT_EQ(dlg.Details(), "[Summary:\t]One host");
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDCANCEL) << dialog.GetErrorText();
}

TEST(PluginsInfoDlg, EmptyRegistryInTheHostsApplication) {
    CHostApp host;
    CTestRegistry registry;
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.probe = [](CProbeDlg& dlg) {
        EXPECT_EQ(dlg.m_ctrlPluginsTree->topLevelItemCount(), 0);
        EXPECT_EQ(dlg.Shown(), kAllControls);
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDCANCEL) << dialog.GetErrorText();
    EXPECT_EQ(QCoreApplication::instance(), &host.app);
    // Twice in one application: each opening makes a new window.
    dialog.bAccept = true;
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDOK) << dialog.GetErrorText();
}

TEST(PluginsInfoDlg, RefusesToOpenWithAReason) {
    struct Case {
        const char* platform;   // QT_QPA_PLATFORM, null: unset
        const char* display;    // DISPLAY, null: unset
        bool bRegistry;
        std::string error;      // how the reason begins
    };
    const Case cases[] = {
        {"offscreen", nullptr, false, "no plug-in registry"},
        {nullptr, nullptr, true, "no display: DISPLAY is not set"},
        {"xcb", ":9999", true, "QT_QPA_PLATFORM=xcb can't start: no X server takes connections on DISPLAY=:9999"},
        {"nosuch;offscreen", nullptr, true, ""},   // Qt falls back on the next platform
        {"nosuch", nullptr, true, "QT_QPA_PLATFORM=nosuch can't start: Qt has no plug-in for the platform"},
    };
    CTestRegistry registry;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.platform ? c.platform : "(unset)") + " " + (c.display ? c.display : "(unset)"));
        const CScopedEnv platform("QT_QPA_PLATFORM", c.platform), display("DISPLAY", c.display),
            wayland("WAYLAND_DISPLAY", nullptr);
        CProbeDlg dialog;
        dialog.SetPluginRegistry(c.bRegistry ? &registry : nullptr);
        const int result = dialog.DoModal();
        EXPECT_EQ(result, c.error.empty() ? CPluginsInfoDlg::IDCANCEL : -1);
        EXPECT_EQ(CUtility::UTF16toUTF8(dialog.GetErrorText()).substr(0, c.error.size()), c.error);
        EXPECT_EQ(QCoreApplication::instance(), nullptr);
    }
}

TEST(PluginsInfoDlg, UtilityFillsTheControls) {
    const CHostApp host;

    // Rich text: colour 0x00RRGGBB (0 keeps the box's own), bold, italic, underline; "\r\n" breaks a line.
    QTextEdit box;
    CUtility::AddToRichText(box, u"plain\r\n", 0, 0, 0, 0);
    CUtility::AddToRichText(box, u"styled", 0x00FF8000, 1, 1, 1);
    EXPECT_EQ(Utf8(box.toPlainText()), "plain\nstyled");
    const QTextCharFormat plain = box.document()->begin().begin().fragment().charFormat();
    const QTextCharFormat styled = box.document()->lastBlock().begin().fragment().charFormat();
    EXPECT_FALSE(plain.hasProperty(QTextFormat::ForegroundBrush));
    EXPECT_FALSE(plain.fontItalic() || plain.fontUnderline() || plain.fontWeight() > QFont::Normal);
    EXPECT_EQ(styled.foreground().color(), QColor(0xFF, 0x80, 0x00));
    EXPECT_TRUE(styled.fontItalic() && styled.fontUnderline() && styled.fontWeight() == QFont::Bold);

    // Rows: position (negative or past the end appends), check box, data, one cell a string.
    struct Insert {
        int row, check;
        uint32_t data;
        const char16_t* name;
        int position;
    };
    const Insert inserts[] = {{-1, -1, 7, u"b", 0}, {5, 0, 8, u"c", 1}, {0, 1, 9, u"a", 0}};
    QTreeWidget list;
    list.setColumnCount(3);
    for (const Insert& insert : inserts) {
        CStringArray cells;
        cells.Add(insert.name);
        cells.Add(u"INT");
        EXPECT_EQ(CUtility::ListInsertRow(list, insert.row, insert.check, insert.data, cells), insert.position);
    }
    EXPECT_EQ(Rows(&list), (Lines{"a|INT|", "b|INT|", "c|INT|"}));
    const QTreeWidgetItem* a = list.topLevelItem(0);
    const QTreeWidgetItem* b = list.topLevelItem(1);
    const QTreeWidgetItem* c = list.topLevelItem(2);
    EXPECT_EQ(a->checkState(0), Qt::Checked);
    EXPECT_FALSE(b->data(0, Qt::CheckStateRole).isValid());
    EXPECT_EQ(c->checkState(0), Qt::Unchecked);
    EXPECT_EQ(b->data(0, Qt::UserRole).toUInt(), 7u);
    EXPECT_EQ(a->data(0, Qt::UserRole).toUInt(), 9u);
}
