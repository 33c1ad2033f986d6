// The plug-ins dialog on a registry filled by hand with modules of this file,
// opened modal as a host opens it; the checks run inside the open window.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <QApplication>
#include <QDialog>
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

// What the test modules declare; a test changes the description to see that an
// open dialog keeps what it read when it opened.
std::u16string g_alphaDescription = u"Pings hosts";
int g_metaInfoCalls = 0;

CModuleMetaInfo Module(const std::u16string& xml) {
    ++g_metaInfoCalls;
    CXML node(CString(xml), CString(u"ModuleMetaInfo"));
    return CModuleMetaInfo(node);
}

// Ping: three forms, the last with a result type the library does not know (12345).
CModuleMetaInfo AlphaMetaInfo() {
    return Module(u"<ModuleMetaInfo Name=\"Alpha\" Version=\"1.2\" Description=\"" + g_alphaDescription +
                  uR"("><FUNCTIONS><FUNCTION Name="Ping">
<FunctionSignature Description="Everyone">
  <VariableMetaInfo Name="reached" Type="20000" Description="How many answered"/></FunctionSignature>
<FunctionSignature Description="One host"><VariableMetaInfo Name="reached" Type="20000" Description="1 if it answered"/>
  <Parameters><VariableMetaInfo Name="host" Type="20001" Description="Name or address"/></Parameters>
</FunctionSignature>
<FunctionSignature Description="Odd type"><VariableMetaInfo Name="value" Type="12345" Description="From later"/>
  <Parameters><VariableMetaInfo Name="count" Type="20000" Description="Times"/>
  <VariableMetaInfo Name="rows" Type="20006" Description="Hosts"/></Parameters></FunctionSignature>
</FUNCTION></FUNCTIONS></ModuleMetaInfo>)");
}

CModuleMetaInfo EmptyMetaInfo() {
    return Module(u"<ModuleMetaInfo Name=\"Empty\" Description=\"Declares nothing\" Version=\"0.1\"/>");
}

void NoCleanUp() {}

// A registry filled as Load fills it, with proxies of functions of this file:
// alpha.twp, empty.twp and broken.twp (failed to load), unless bEmpty.
class CTestRegistry : public CPluginRegistry {
public:
    explicit CTestRegistry(bool bEmpty = false) {
        // As the loader hands out addresses: untyped.
        const auto address = [](auto f) { return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(f)); };
        const std::pair<const char16_t*, CPluginProxy::PFN_GETMETAINFO> modules[] = {
            {u"alpha.twp", AlphaMetaInfo}, {u"empty.twp", EmptyMetaInfo}, {u"broken.twp", nullptr}};
        for (const auto& [file, metaInfo] : modules) {
            if (bEmpty)
                break;
            m_arrPluginNames.Add(file);
            CPluginProxy proxy(nullptr, nullptr, address(metaInfo), address(NoCleanUp));
            if (metaInfo)
                m_mapPlugins.SetAt(file, proxy);
            else
                m_arrFailedPlugins.Add(file);
        }
    }
};

// The controls by object name, in window order.
const Lines kAllControls = {"pluginsTree",       "informationCaption", "information", "returnValueCaption",
                            "returnValueList",   "parametersCaption",  "parametersList", "ok", "cancel"};
const Lines kWithoutLists = {"pluginsTree", "informationCaption", "information", "ok", "cancel"};

// "cell|cell|cell" of a row or a header.
std::string Row(const QTreeWidgetItem* item) { return Utf8(item->text(0) + "|" + item->text(1) + "|" + item->text(2)); }

Lines Rows(const QTreeWidget* list) {
    Lines rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        rows.push_back(Row(list->topLevelItem(i)));
    return rows;
}

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
    Widget* Find(const std::string& name) const { return m_pWindow->findChild<Widget*>(name.c_str()); }

    // The window title, the three captions, the two buttons and both lists' headings.
    Lines Texts() const {
        Lines texts{Utf8(m_pWindow->windowTitle())};
        for (const char* caption : {"informationCaption", "returnValueCaption", "parametersCaption"})
            texts.push_back(Utf8(Find<QLabel>(caption)->text()));
        for (const char* button : {"ok", "cancel"})
            texts.push_back(Utf8(Find<QPushButton>(button)->text()));
        for (const QTreeWidget* list : {m_ctrlReturnValueList, m_ctrlParametersList})
            texts.push_back(Row(list->headerItem()));
        return texts;
    }

    Lines Shown() const {
        Lines names;
        for (const std::string& name : kAllControls)
            if (Find<QWidget>(name)->isVisible())
                names.push_back(name);
        return names;
    }

    // The tree, two blanks of indent a level, each item with the image its icon came from.
    Lines Tree() const {
        Lines lines;
        for (QTreeWidgetItemIterator it(m_ctrlPluginsTree); *it; ++it) {
            int depth = 0, image = 0;
            for (QTreeWidgetItem* up = (*it)->parent(); up; up = up->parent())
                ++depth;
            while (image < m_imageList.size() && m_imageList[image].cacheKey() != (*it)->icon(0).cacheKey())
                ++image;
            lines.push_back(std::string(2 * depth, ' ') + Utf8((*it)->text(0)) + " #" + std::to_string(image));
        }
        return lines;
    }

    // The rich text, one line a paragraph, with the bold parts in brackets.
    std::string Details() const {
        std::string text;
        for (QTextBlock block = m_ctrlInformation->document()->begin(); block.isValid(); block = block.next()) {
            text += block == m_ctrlInformation->document()->begin() ? "" : "\n";
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

}  // namespace

TEST(PluginsInfoDlg, ShowsTheTreeAndTheSelectedItemsDetails) {
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
    g_metaInfoCalls = 0;
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.probe = [&steps](CProbeDlg& dlg) {
        EXPECT_EQ(dlg.Tree(), (Lines{"alpha.twp #0", "  Ping #1", "    Signature 0 #2", "    Signature 1 #2",
                                     "    Signature 2 #2", "empty.twp #0", "broken.twp #0"}));
        EXPECT_EQ(g_metaInfoCalls, 2);   // once for each loaded module
        // Until the first selection every control shows, and they are empty.
        EXPECT_EQ(dlg.Shown(), kAllControls);
        EXPECT_EQ(dlg.Details(), "");
        EXPECT_EQ(Rows(dlg.m_ctrlReturnValueList), Lines{});
        EXPECT_TRUE(dlg.m_ctrlInformation->isReadOnly());
        EXPECT_EQ(dlg.Texts(), (Lines{"Plugins", "Information:", "Return Value:", "Parameters:", "OK", "Cancel",
                                      "Name|Type|Description", "Name|Type|Description"}));
        g_alphaDescription = u"Changed after the dialog opened";   // the dialog shows what it read
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
    EXPECT_EQ(QCoreApplication::instance(), nullptr);   // the one made for the dialog is gone with it
    g_alphaDescription = u"Pings hosts";
}

// Setters replace every text; the captions get a colon, the detail labels get
// theirs when shown, headings and buttons none.
TEST(PluginsInfoDlg, LabelSettersReplaceEveryText) {
    CTestRegistry registry;
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.SetNameLabel(u"Title"), dialog.SetTypeLabel(u"Kind"), dialog.SetDescriptionLabel(u"Summary");
    dialog.SetVersionLabel(u"Release"), dialog.SetInformationLabel(u"Details"), dialog.SetReturnValueLabel(u"Result");
    dialog.SetParametersLabel(u"Arguments"), dialog.SetCancelLabel(u"Close"), dialog.SetDlgTitle(u"Modules");
    dialog.SetSignatureLabel(u"Form");
    dialog.bAccept = true;
    dialog.probe = [&dialog](CProbeDlg& dlg) {
        dialog.SetDlgTitle(u"Too late");   // a setter changes nothing in an open window
        EXPECT_EQ(dlg.Texts(), (Lines{"Modules", "Details:", "Result:", "Arguments:", "OK", "Close",
                                      "Title|Kind|Summary", "Title|Kind|Summary"}));
        EXPECT_EQ(dlg.Tree()[2], "    Form 0 #2");
        dlg.Select({0});
        EXPECT_EQ(dlg.Details(), "[Title:\t\t]Alpha\n[Summary:\t]Pings hosts\n[Release:\t\t]1.2");
        dlg.Select({0, 0, 1});
        EXPECT_EQ(dlg.Details(), "[Summary:\t]One host");
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDOK) << dialog.GetErrorText();
}

TEST(PluginsInfoDlg, RefusesToOpenWithAReason) {
    const struct {
        const char* platform;   // QT_QPA_PLATFORM, null: unset
        const char* display;    // DISPLAY, null: unset
        bool bRegistry;
        std::string error;      // how the reason begins
    } cases[] = {
        {"offscreen", nullptr, false, "no plug-in registry"},
        {nullptr, nullptr, true, "no display: DISPLAY is not set"},
        {"xcb", ":9999", true, "QT_QPA_PLATFORM=xcb can't start: no X server takes connections on DISPLAY=:9999"},
        {"nosuch;offscreen", nullptr, true, ""},   // Qt falls back on the next platform
        {"nosuch", nullptr, true, "QT_QPA_PLATFORM=nosuch can't start: Qt has no plug-in for the platform"},
    };
    const auto set = [](const char* name, const char* value) { value ? ::setenv(name, value, 1) : ::unsetenv(name); };
    const char* const names[] = {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"};
    std::vector<std::optional<std::string>> saved;
    for (const char* name : names)
        saved.push_back(::getenv(name) ? std::optional<std::string>(::getenv(name)) : std::nullopt);
    CTestRegistry registry(true);
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.platform ? c.platform : "(unset)") + " " + (c.display ? c.display : "(unset)"));
        set(names[0], c.platform), set(names[1], c.display), set(names[2], nullptr);
        CProbeDlg dialog;
        dialog.SetPluginRegistry(c.bRegistry ? &registry : nullptr);
        EXPECT_EQ(dialog.DoModal(), c.error.empty() ? CPluginsInfoDlg::IDCANCEL : -1);
        EXPECT_EQ(CUtility::UTF16toUTF8(dialog.GetErrorText()).substr(0, c.error.size()), c.error);
        EXPECT_EQ(QCoreApplication::instance(), nullptr);
    }
    for (int i = 0; i < 3; ++i)
        set(names[i], saved[i] ? saved[i]->c_str() : nullptr);
}

// In a host's own QApplication: the dialog on an empty registry, opened twice,
// and the utilities that fill its controls.
TEST(PluginsInfoDlg, InTheHostsApplication) {
    int argc = 1;
    char name[] = "test_widgets", *argv[] = {name, nullptr};
    const QApplication app(argc, argv);
    CTestRegistry registry(true);
    CProbeDlg dialog;
    dialog.SetPluginRegistry(&registry);
    dialog.probe = [](CProbeDlg& dlg) {
        EXPECT_EQ(dlg.m_ctrlPluginsTree->topLevelItemCount(), 0);
        EXPECT_EQ(dlg.Shown(), kAllControls);
    };
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDCANCEL) << dialog.GetErrorText();
    EXPECT_EQ(QCoreApplication::instance(), &app);
    dialog.bAccept = true;   // each opening makes a new window
    EXPECT_EQ(dialog.DoModal(), CPluginsInfoDlg::IDOK) << dialog.GetErrorText();

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

    // Rows: position (negative or past the end appends), check box (-1: none), data, one cell a string.
    const struct {
        int row, check;
        uint32_t data;
        const char16_t* name;
        int position;
    } inserts[] = {{-1, -1, 7, u"b", 0}, {5, 0, 8, u"c", 1}, {0, 1, 9, u"a", 0}};
    QTreeWidget list;
    list.setColumnCount(3);
    for (const auto& insert : inserts) {
        CStringArray cells;
        cells.Add(insert.name);
        cells.Add(u"INT");
        EXPECT_EQ(CUtility::ListInsertRow(list, insert.row, insert.check, insert.data, cells), insert.position);
    }
    Lines rows;
    for (int i = 0; i < 3; ++i) {
        const QTreeWidgetItem* item = list.topLevelItem(i);
        const QVariant check = item->data(0, Qt::CheckStateRole);
        rows.push_back(Row(item) + " " + (check.isValid() ? std::to_string(check.toInt()) : "-") + " " +
                       std::to_string(item->data(0, Qt::UserRole).toUInt()));
    }
    EXPECT_EQ(rows, (Lines{"a|INT| 2 9", "b|INT| - 7", "c|INT| 0 8"}));
}
