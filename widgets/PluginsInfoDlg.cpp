#include "widgets/PluginsInfoDlg.h"

#include <QDialog>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTextBlockFormat>
#include <QTextCursor>
#include <QTextEdit>
#include <QToolTip>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "varlib/metadata/FunctionSignature.h"
#include "varlib/metadata/ModuleMetaInfo.h"
#include "varlib/plugins/PluginRegistry.h"
#include "varlib/values/Variable.h"
#include "widgets/PluginsTreeIcons.h"
#include "widgets/QtText.h"
#include "widgets/Tw_varlibApp.h"

namespace {

// The kinds of tree item, kept as the item's type.
enum : int { ITEM_PLUGIN = QTreeWidgetItem::UserType, ITEM_FUNCTION, ITEM_SIGNATURE };

// Images of the tree's icon list.
enum : int { IMAGE_PLUGIN, IMAGE_FUNCTION, IMAGE_SIGNATURE };

// Style arguments of CUtility::AddToRichText: colour, bold, italic, underline.
constexpr uint32_t kDefaultColor = 0;
constexpr int kLabelBold = 1, kValueBold = 0;

// The window's size in dialog units, as the platform's template had it.
constexpr int kWidthDlu = 328, kHeightDlu = 239;

// Dialog units of a font: a quarter of its average letter width across, an
// eighth of its height down.
struct DialogUnits {
    double x, y;
    explicit DialogUnits(const QFontMetricsF& metrics)
        : x(metrics.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) / 52.0 / 4.0),
          y(metrics.height() / 8.0) {}
    int X(int dlu) const { return static_cast<int>(dlu * x + 0.5); }
    int Y(int dlu) const { return static_cast<int>(dlu * y + 0.5); }
};

// Shows a cell's whole text as a tip when the column cuts it off.
class CLabelTipDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override {
        if (event->type() != QEvent::ToolTip)
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        if (sizeHint(option, index).width() > option.rect.width())
            QToolTip::showText(event->globalPos(), index.data(Qt::DisplayRole).toString(), view);
        else
            QToolTip::hideText();
        return true;
    }
};

// The three columns of a list take the shares the platform gave them: a
// quarter, a quarter, and a half less 4 pixels of the list's outer width.
void SetColumnShares(QTreeWidget& list) {
    const int width = list.width();
    list.setColumnWidth(0, static_cast<int>(width * 0.25));
    list.setColumnWidth(1, static_cast<int>(width * 0.25));
    list.setColumnWidth(2, static_cast<int>(width * 0.5 - 4));
}

// Keeps the shares when the operator resizes the window (our choice: the
// window may grow, and the columns grow with it).
class CColumnShares : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Resize)
            SetColumnShares(*static_cast<QTreeWidget*>(watched));
        return false;
    }
};

QTreeWidget* MakeList(QWidget* parent, const QString& name) {
    auto* list = new QTreeWidget(parent);
    list->setObjectName(name);
    list->setRootIsDecorated(false);
    list->setItemsExpandable(false);
    list->setUniformRowHeights(true);
    list->setColumnCount(3);
    list->header()->setStretchLastSection(false);
    list->header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    return list;
}

QLabel* MakeCaption(QWidget* parent, const QString& name, const QString& text, QWidget* buddy) {
    auto* caption = new QLabel(text, parent);
    caption->setObjectName(name);
    caption->setBuddy(buddy);
    return caption;
}

// Takes the record off an item, leaving none behind.
template <typename Record>
Record* TakeRecord(QTreeWidgetItem* item) {
    auto* record = static_cast<Record*>(item->data(0, Qt::UserRole).value<void*>());
    item->setData(0, Qt::UserRole, QVariant());
    return record;
}

template <typename Record>
const Record* PeekRecord(const QTreeWidgetItem* item) {
    return static_cast<const Record*>(item->data(0, Qt::UserRole).value<void*>());
}

QTreeWidgetItem* AddItem(QTreeWidgetItem* parent, QTreeWidget* tree, int kind, const CString& text,
                         const QIcon& icon) {
    auto* item = parent ? new QTreeWidgetItem(parent, kind) : new QTreeWidgetItem(tree, kind);
    item->setText(0, ToQString(text));
    item->setIcon(0, icon);
    return item;
}

void AddRow(QTreeWidget& list, const CVariableMetaInfo& record) {
    CStringArray cells;
    cells.Add(record.GetName());
    cells.Add(CVariable::GetTypeInfo(record.GetType()));
    cells.Add(record.GetDescription());
    CUtility::ListInsertRow(list, list.topLevelItemCount(), -1, 0, cells);
}

}  // namespace

CPluginsInfoDlg::CPluginsInfoDlg(QWidget* parent)
    : m_strDescriptionLabel(u"Description"),
      m_strVersionLabel(u"Version"),
      m_strNameLabel(u"Name"),
      m_strTypeLabel(u"Type"),
      m_strInformationLabel(u"Information:"),
      m_strReturnValueLabel(u"Return Value:"),
      m_strParametersLabel(u"Parameters:"),
      m_strCancelLabel(u"Cancel"),
      m_strDlgTitle(u"Plugins"),
      m_strSignatureLabel(u"Signature"),
      m_pParent(parent) {}

CPluginsInfoDlg::~CPluginsInfoDlg() { DestroyWindow(); }

void CPluginsInfoDlg::SetPluginRegistry(CPluginRegistry* registry) { m_pPluginRegistry = registry; }

void CPluginsInfoDlg::SetDescriptionLabel(const CString& label) { m_strDescriptionLabel = label; }
void CPluginsInfoDlg::SetVersionLabel(const CString& label) { m_strVersionLabel = label; }
void CPluginsInfoDlg::SetNameLabel(const CString& label) { m_strNameLabel = label; }
void CPluginsInfoDlg::SetTypeLabel(const CString& label) { m_strTypeLabel = label; }
void CPluginsInfoDlg::SetInformationLabel(const CString& label) { m_strInformationLabel = label + u":"; }
void CPluginsInfoDlg::SetReturnValueLabel(const CString& label) { m_strReturnValueLabel = label + u":"; }
void CPluginsInfoDlg::SetParametersLabel(const CString& label) { m_strParametersLabel = label + u":"; }
void CPluginsInfoDlg::SetCancelLabel(const CString& label) { m_strCancelLabel = label; }
void CPluginsInfoDlg::SetDlgTitle(const CString& title) { m_strDlgTitle = title; }
void CPluginsInfoDlg::SetSignatureLabel(const CString& label) { m_strSignatureLabel = label; }

CString CPluginsInfoDlg::GetErrorText() const { return m_strError; }

int CPluginsInfoDlg::DoModal() {
    m_strError.Empty();
    if (!m_pPluginRegistry) {
        m_strError = u"no plug-in registry was given to the dialog";
        return -1;
    }
    if (m_pWindow) {
        m_strError = u"the dialog is open already";
        return -1;
    }
    CTw_varlibApp app;
    if (!app.IsReady()) {
        m_strError = app.GetErrorText();
        return -1;
    }
    CreateControls();
    int result = IDCANCEL;
    try {
        OnInitDialog();
        result = m_pWindow->exec() == QDialog::Accepted ? IDOK : IDCANCEL;
    } catch (...) {
        // The window goes before the application object that may have been made for it.
        DestroyWindow();
        throw;
    }
    DestroyWindow();
    return result;
}

void CPluginsInfoDlg::CreateControls() {
    auto* window = new QDialog(m_pParent);
    m_pWindow = window;
    window->setObjectName(QStringLiteral("PluginsInfoDlg"));
    window->setWindowTitle(QStringLiteral("Plugins"));
    const DialogUnits dlu{QFontMetricsF(window->font())};

    m_ctrlPluginsTree = new QTreeWidget(window);
    m_ctrlPluginsTree->setObjectName(QStringLiteral("pluginsTree"));
    m_ctrlPluginsTree->setHeaderHidden(true);
    m_ctrlPluginsTree->setRootIsDecorated(true);
    m_ctrlPluginsTree->setIconSize(QSize(16, 16));
    m_ctrlPluginsTree->setSelectionMode(QAbstractItemView::SingleSelection);

    m_ctrlInformation = new QTextEdit(window);
    m_ctrlInformation->setObjectName(QStringLiteral("information"));
    m_ctrlInformation->setReadOnly(true);
    m_ctrlInformation->setUndoRedoEnabled(false);
    m_ctrlReturnValueList = MakeList(window, QStringLiteral("returnValueList"));
    m_ctrlParametersList = MakeList(window, QStringLiteral("parametersList"));
    m_ctrlInformationCaption =
        MakeCaption(window, QStringLiteral("informationCaption"), QStringLiteral("Information:"), m_ctrlInformation);
    m_ctrlReturnValueCaption = MakeCaption(window, QStringLiteral("returnValueCaption"),
                                           QStringLiteral("Return value:"), m_ctrlReturnValueList);
    m_ctrlParametersCaption = MakeCaption(window, QStringLiteral("parametersCaption"), QStringLiteral("Parameters:"),
                                          m_ctrlParametersList);

    m_ctrlOk = new QPushButton(QStringLiteral("OK"), window);
    m_ctrlOk->setObjectName(QStringLiteral("ok"));
    m_ctrlOk->setDefault(true);
    m_ctrlCancel = new QPushButton(QStringLiteral("Cancel"), window);
    m_ctrlCancel->setObjectName(QStringLiteral("cancel"));
    QObject::connect(m_ctrlOk, &QPushButton::clicked, window, &QDialog::accept);
    QObject::connect(m_ctrlCancel, &QPushButton::clicked, window, &QDialog::reject);
    QObject::connect(m_ctrlPluginsTree, &QTreeWidget::itemSelectionChanged, window, [this] {
        const QList<QTreeWidgetItem*> selected = m_ctrlPluginsTree->selectedItems();
        OnTvnSelchangedPluginsTree(selected.isEmpty() ? nullptr : selected.front());
    });

    // The tree fills the left side from top to bottom; on the right, each under
    // its caption, the details, the return value and the parameters, with the
    // buttons at the bottom right. Heights and widths keep the template's shares.
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_ctrlOk);
    buttons->addWidget(m_ctrlCancel);

    auto* right = new QVBoxLayout;
    right->setSpacing(dlu.Y(3));
    right->addWidget(m_ctrlInformationCaption);
    right->addWidget(m_ctrlInformation, 78);
    right->addSpacing(dlu.Y(3));
    right->addWidget(m_ctrlReturnValueCaption);
    right->addWidget(m_ctrlReturnValueList);
    right->addSpacing(dlu.Y(3));
    right->addWidget(m_ctrlParametersCaption);
    right->addWidget(m_ctrlParametersList, 54);
    right->addSpacing(dlu.Y(3));
    right->addLayout(buttons);

    auto* main = new QHBoxLayout(window);
    main->setContentsMargins(dlu.X(6), dlu.Y(6), dlu.X(6), dlu.Y(6));
    main->setSpacing(dlu.X(6));
    main->addWidget(m_ctrlPluginsTree, 114);
    main->addLayout(right, 192);

    // The return value list shows its heading and exactly one row.
    const int row = QFontMetrics(m_ctrlReturnValueList->font()).height() + dlu.Y(3);
    m_ctrlReturnValueList->setFixedHeight(m_ctrlReturnValueList->header()->sizeHint().height() + row +
                                          2 * m_ctrlReturnValueList->frameWidth());
    window->resize(dlu.X(kWidthDlu), dlu.Y(kHeightDlu));
    m_ctrlPluginsTree->setFocus();
}

int CPluginsInfoDlg::OnInitDialog() {
    QDialog& window = *m_pWindow;
    // The layout places the controls now, so that the lists know their widths.
    window.layout()->activate();

    m_ctrlCancel->setText(ToQString(m_strCancelLabel));
    m_ctrlInformationCaption->setText(ToQString(m_strInformationLabel));
    m_ctrlReturnValueCaption->setText(ToQString(m_strReturnValueLabel));
    m_ctrlParametersCaption->setText(ToQString(m_strParametersLabel));
    window.setWindowTitle(ToQString(m_strDlgTitle));

    // Drawing the icons can't fail, unlike loading a bitmap; a missing icon would leave the tree without.
    m_imageList = DrawPluginsTreeIcons();

    // Tab stops of the details (our choice): one stop past the widest of the
    // one-tab labels, so that the values after "Name:\t\t", "Description:\t"
    // and "Version:\t\t" start in one column.
    QFont bold = m_ctrlInformation->font();
    bold.setBold(true);
    const QFontMetricsF metrics(bold);
    const auto width = [&](const CString& label) { return metrics.horizontalAdvance(ToQString(label) + u':'); };
    const double stop = std::max({width(m_strNameLabel), width(m_strVersionLabel), width(m_strDescriptionLabel) / 2}) +
                        metrics.averageCharWidth();
    m_ctrlInformation->setTabStopDistance(stop);

    for (QTreeWidget* list : {m_ctrlReturnValueList, m_ctrlParametersList}) {
        list->setHeaderLabels({ToQString(m_strNameLabel), ToQString(m_strTypeLabel), ToQString(m_strDescriptionLabel)});
        SetColumnShares(*list);
        list->installEventFilter(new CColumnShares(list));
        list->setSelectionBehavior(QAbstractItemView::SelectRows);
        list->setAllColumnsShowFocus(true);
        list->setAlternatingRowColors(true);
        list->setItemDelegate(new CLabelTipDelegate(list));
    }

    CStringArray plugins;
    m_pPluginRegistry->GetPlugins(plugins);
    for (intptr_t i = 0; i < plugins.GetSize(); ++i) {
        const CModuleMetaInfo info = m_pPluginRegistry->GetPluginModuleMetaInfo(plugins[i]);
        QTreeWidgetItem* plugin =
            AddItem(nullptr, m_ctrlPluginsTree, ITEM_PLUGIN, plugins[i], m_imageList.value(IMAGE_PLUGIN));
        plugin->setData(0, Qt::UserRole, QVariant::fromValue<void*>(new CModuleMetaInfo(info)));
        const CModuleMetaInfo::CFunctionMap functions = info.GetFunctionsMetaInfo();
        for (const auto* pair = functions.PGetFirstAssoc(); pair; pair = functions.PGetNextAssoc(pair)) {
            QTreeWidgetItem* function =
                AddItem(plugin, nullptr, ITEM_FUNCTION, pair->key, m_imageList.value(IMAGE_FUNCTION));
            const CModuleMetaInfo::CSignatureArray& signatures = pair->value;
            for (intptr_t s = 0; s < signatures.GetSize(); ++s) {
                CString text;
                text.Format(u"%s %d", m_strSignatureLabel, static_cast<int>(s));
                QTreeWidgetItem* signature =
                    AddItem(function, nullptr, ITEM_SIGNATURE, text, m_imageList.value(IMAGE_SIGNATURE));
                signature->setData(0, Qt::UserRole, QVariant::fromValue<void*>(new CFunctionSignature(signatures[s])));
            }
        }
        // Our choice: plug-ins open, so that their functions show at once.
        plugin->setExpanded(true);
    }
    return 1;
}

void CPluginsInfoDlg::OnTvnSelchangedPluginsTree(QTreeWidgetItem* item) {
    m_ctrlInformation->clear();
    if (!item)
        return;
    const auto addLabel = [this](const char16_t* format, const CString& label) {
        CString text;
        text.Format(format, label);
        CUtility::AddToRichText(*m_ctrlInformation, text, kDefaultColor, kLabelBold, 0, 0);
    };
    const auto addValue = [this](const CString& value) {
        CUtility::AddToRichText(*m_ctrlInformation, value, kDefaultColor, kValueBold, 0, 0);
    };

    switch (item->type()) {
    case ITEM_PLUGIN:
        if (const auto* info = PeekRecord<CModuleMetaInfo>(item)) {
            addLabel(u"%s:\t\t", m_strNameLabel);
            addValue(info->GetName());
            addLabel(u"\r\n%s:\t", m_strDescriptionLabel);
            addValue(info->GetDescription());
            addLabel(u"\r\n%s:\t\t", m_strVersionLabel);
            addValue(info->GetVersion());
        }
        // The lists keep their rows, hidden.
        ShowControls(0);
        break;
    case ITEM_FUNCTION:
        ShowControls(0);
        break;
    case ITEM_SIGNATURE:
        ShowControls(1);
        m_ctrlReturnValueList->clear();
        m_ctrlParametersList->clear();
        if (const auto* signature = PeekRecord<CFunctionSignature>(item)) {
            addLabel(u"%s:\t", m_strDescriptionLabel);
            addValue(signature->GetDescription());
            AddRow(*m_ctrlReturnValueList, signature->GetReturnValue());
            CArray<CVariableMetaInfo, const CVariableMetaInfo&> parameters;
            signature->GetParameters(parameters);
            for (intptr_t i = 0; i < parameters.GetSize(); ++i)
                AddRow(*m_ctrlParametersList, parameters[i]);
        }
        break;
    default:
        break;
    }
    // A value that wraps goes on under its first line, not under the labels.
    const qreal indent = 2 * m_ctrlInformation->tabStopDistance();
    QTextBlockFormat hanging;
    hanging.setLeftMargin(indent);
    hanging.setTextIndent(-indent);
    QTextCursor all(m_ctrlInformation->document());
    all.select(QTextCursor::Document);
    all.mergeBlockFormat(hanging);
}

void CPluginsInfoDlg::ShowControls(int show) {
    for (QWidget* control : std::initializer_list<QWidget*>{m_ctrlReturnValueCaption, m_ctrlReturnValueList,
                                                            m_ctrlParametersCaption, m_ctrlParametersList})
        control->setVisible(show != 0);
}

void CPluginsInfoDlg::CleanUp() {
    if (!m_ctrlPluginsTree)
        return;
    for (int p = 0; p < m_ctrlPluginsTree->topLevelItemCount(); ++p) {
        QTreeWidgetItem* plugin = m_ctrlPluginsTree->topLevelItem(p);
        delete TakeRecord<CModuleMetaInfo>(plugin);
        for (int f = 0; f < plugin->childCount(); ++f) {
            QTreeWidgetItem* function = plugin->child(f);
            for (int s = 0; s < function->childCount(); ++s)
                delete TakeRecord<CFunctionSignature>(function->child(s));
        }
    }
}

int CPluginsInfoDlg::DestroyWindow() {
    if (!m_pWindow)
        return 0;
    CleanUp();
    delete m_pWindow.data();
    m_ctrlPluginsTree = nullptr;
    m_ctrlInformation = nullptr;
    m_ctrlReturnValueList = m_ctrlParametersList = nullptr;
    m_ctrlReturnValueCaption = m_ctrlParametersCaption = m_ctrlInformationCaption = nullptr;
    m_ctrlOk = m_ctrlCancel = nullptr;
    return 1;
}
