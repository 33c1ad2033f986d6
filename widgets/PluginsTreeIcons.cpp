#include "widgets/PluginsTreeIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <functional>

namespace {

// One icon from a drawing in 16-by-16 units, at scales 1 and 2.
QIcon Draw(const std::function<void(QPainter&)>& drawing) {
    QIcon icon;
    for (const int scale : {1, 2}) {
        QPixmap pixmap(16 * scale, 16 * scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        drawing(painter);
        painter.end();
        pixmap.setDevicePixelRatio(scale);
        icon.addPixmap(pixmap);
    }
    return icon;
}

void DrawPlug(QPainter& p) {
    // Two prongs above a rounded body, and the cable below.
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x8a, 0x94, 0xa0));
    p.drawRoundedRect(QRectF(4.5, 0.5, 2, 5), 0.8, 0.8);
    p.drawRoundedRect(QRectF(9.5, 0.5, 2, 5), 0.8, 0.8);
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x8c), 1));
    p.setBrush(QColor(0x35, 0x7a, 0xd0));
    p.drawRoundedRect(QRectF(2.5, 4.5, 11, 7), 2, 2);
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x8c), 2, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(8, 12), QPointF(8, 15));
    p.setPen(QPen(QColor(255, 255, 255, 150), 1));
    p.drawLine(QPointF(4.5, 6.5), QPointF(11.5, 6.5));
}

void DrawDiamond(QPainter& p) {
    QPainterPath diamond;
    diamond.moveTo(8, 1);
    diamond.lineTo(15, 8);
    diamond.lineTo(8, 15);
    diamond.lineTo(1, 8);
    diamond.closeSubpath();
    p.setPen(QPen(QColor(0x5b, 0x2c, 0x83), 1));
    p.setBrush(QColor(0x8e, 0x44, 0xad));
    p.drawPath(diamond);
    // A lighter upper face gives it depth.
    QPainterPath face;
    face.moveTo(8, 3);
    face.lineTo(13, 8);
    face.lineTo(3, 8);
    face.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xc3, 0x9b, 0xd3));
    p.drawPath(face);
}

void DrawSheet(QPainter& p) {
    // A sheet with a folded corner and three lines of text.
    QPainterPath sheet;
    sheet.moveTo(2.5, 0.5);
    sheet.lineTo(10, 0.5);
    sheet.lineTo(13.5, 4);
    sheet.lineTo(13.5, 15.5);
    sheet.lineTo(2.5, 15.5);
    sheet.closeSubpath();
    p.setPen(QPen(QColor(0x6c, 0x75, 0x7d), 1));
    p.setBrush(Qt::white);
    p.drawPath(sheet);
    p.setBrush(QColor(0xd5, 0xd8, 0xdc));
    p.drawPolygon(QPolygonF({QPointF(10, 0.5), QPointF(10, 4), QPointF(13.5, 4)}));
    p.setPen(QPen(QColor(0x13, 0x8d, 0x75), 1.5, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(5, 7), QPointF(11, 7));
    p.drawLine(QPointF(5, 10), QPointF(11, 10));
    p.drawLine(QPointF(5, 13), QPointF(9, 13));
}

}  // namespace

QList<QIcon> DrawPluginsTreeIcons() { return {Draw(DrawPlug), Draw(DrawDiamond), Draw(DrawSheet)}; }
