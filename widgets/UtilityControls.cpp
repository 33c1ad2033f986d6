// CUtility's fillers of the dialog's controls; declared in corelib/Utility.h,
// defined here, where Qt is linked.
#include <QBrush>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextEdit>
#include <QTreeWidget>

#include "corelib/Utility.h"
#include "corelib/framework/StringArray.h"
#include "widgets/QtText.h"

void CUtility::AddToRichText(QTextEdit& box, const CString& text, uint32_t color, int bold, int italic,
                             int underline) {
    QTextCharFormat format;
    if (color != 0)
        format.setForeground(QBrush(QColor::fromRgb(color & 0xFFFFFFu)));
    format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
    format.setFontItalic(italic != 0);
    format.setFontUnderline(underline != 0);

    QString plain = ToQString(text);
    plain.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    plain.replace(QLatin1Char('\r'), QLatin1Char('\n'));

    QTextCursor cursor(box.document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(plain, format);
}

int CUtility::ListInsertRow(QTreeWidget& list, int row, int check, uint32_t data, const CStringArray& cells) {
    const int count = list.topLevelItemCount();
    const int at = row < 0 || row > count ? count : row;
    auto* item = new QTreeWidgetItem();
    for (intptr_t i = 0; i < cells.GetSize(); ++i)
        item->setText(static_cast<int>(i), ToQString(cells.GetAt(i)));
    if (check != -1)
        item->setCheckState(0, check ? Qt::Checked : Qt::Unchecked);
    item->setData(0, Qt::UserRole, QVariant::fromValue(data));
    list.insertTopLevelItem(at, item);   // the list owns the item from here
    return at;
}
