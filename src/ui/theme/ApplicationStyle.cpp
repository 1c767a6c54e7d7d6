#include "ui/theme/ApplicationStyle.h"

#include <QPainter>
#include <QStyleOption>
#include <QWidget>

#include <algorithm>

#include "ui/controls/FocusRing.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {

constexpr int menuRowHeight = 28;
constexpr int menuSidePadding = 14;
constexpr int menuIconColumn = 26;
constexpr int scrollBarExtent = 10;

QColor menuSurface() {
    return HalvenorTheme::isLight()
               ? QColor(250, 250, 250)
               : HalvenorTheme::blend(QColor(255, 255, 255, 16), HalvenorTheme::windowBackdrop());
}

void drawPlate(QPainter& painter, const QRectF& rect, double radius, const QColor& fill,
               const QColor& border) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(border);
    painter.drawRoundedRect(rect.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.restore();
}

void drawCheckBox(QPainter& painter, const QStyleOption& box) {
    const bool isOn = (box.state & QStyle::State_On) != 0;
    const bool isLit = (box.state & QStyle::State_MouseOver) != 0;
    QColor fill = isOn ? HalvenorTheme::accent() : HalvenorTheme::hoverTint();
    fill.setAlphaF(isOn ? (isLit ? 1.0F : 0.9F) : (isLit ? 0.11F : 0.06F));
    QColor edge = HalvenorTheme::hoverTint();
    edge.setAlphaF(0.22F);
    const QRectF area = QRectF(box.rect);
    drawPlate(painter, area, 4, fill, isOn ? QColor(Qt::transparent) : edge);
    if (!isOn) {
        return;
    }
    const QPointF corner = area.topLeft();
    const double unit = area.width() / 16;
    const QPointF tick[] = {corner + QPointF(4.2, 8.4) * unit, corner + QPointF(7, 11.2) * unit,
                            corner + QPointF(11.9, 5.2) * unit};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, 1.7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(tick, 3);
    painter.restore();
}

// The taller a field, the rounder.
double fieldRadius(const QRect& field) {
    return field.height() >= 32 ? 8 : 6;
}

void drawSubmenuArrow(QPainter& painter, const QStyleOptionMenuItem& item, const QColor& ink) {
    const int side = item.direction == Qt::RightToLeft ? -1 : 1;
    const QRect place(item.rect.right() - menuSidePadding - 5, item.rect.top(), 10,
                      item.rect.height());
    const QPointF centre = QRectF(QStyle::visualRect(item.direction, item.rect, place)).center();
    const QPointF points[] = {centre + QPointF(-1.75 * side, -3.5),
                              centre + QPointF(1.75 * side, 0),
                              centre + QPointF(-1.75 * side, 3.5)};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(points, 3);
    painter.restore();
}

void drawMenuItem(QPainter& painter, const QStyleOptionMenuItem& item) {
    const QRect rect = item.rect;
    if (item.menuItemType == QStyleOptionMenuItem::Separator) {
        painter.fillRect(rect.left() + menuSidePadding, rect.center().y(),
                         rect.width() - 2 * menuSidePadding, 1, HalvenorTheme::hairline());
        return;
    }
    const bool isEnabled = (item.state & QStyle::State_Enabled) != 0;
    const bool isSelected = isEnabled && (item.state & QStyle::State_Selected) != 0;
    if (isSelected) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(HalvenorTheme::accent());
        painter.drawRoundedRect(QRectF(rect).adjusted(4, 1, -4, -1), 5, 5);
        painter.restore();
    }
    QColor ink = HalvenorTheme::isLight() ? QColor(20, 20, 20) : QColor(222, 222, 222);
    if (isSelected) {
        ink = Qt::white;
    } else if (!isEnabled) {
        ink.setAlphaF(0.35F);
    }
    const bool isMirrored = item.direction == Qt::RightToLeft;
    QRect textRect = rect.adjusted(menuSidePadding, 0, -menuSidePadding, 0);
    if (item.maxIconWidth > 0) {
        const QRect iconRect(rect.left() + menuSidePadding - 2, rect.top(), 20, rect.height());
        item.icon.paint(&painter, QStyle::visualRect(item.direction, rect, iconRect),
                        Qt::AlignCenter,
                        isSelected ? QIcon::Active : (isEnabled ? QIcon::Normal : QIcon::Disabled));
        textRect.setLeft(rect.left() + menuSidePadding + menuIconColumn);
    }
    painter.setPen(ink);
    painter.setFont(item.font);
    painter.drawText(QStyle::visualRect(item.direction, rect, textRect),
                     Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic |
                         (isMirrored ? Qt::AlignRight : Qt::AlignLeft),
                     item.text.section(QLatin1Char('\t'), 0, 0));
    if (item.menuItemType == QStyleOptionMenuItem::SubMenu) {
        drawSubmenuArrow(painter, item, ink);
    }
}

void drawScrollBar(QPainter& painter, const QStyleOptionSlider& bar, QRect handle,
                   const QColor& surface) {
    painter.fillRect(bar.rect, surface);
    if (bar.minimum >= bar.maximum) {
        return;
    }
    const bool isLit = (bar.state & (QStyle::State_MouseOver | QStyle::State_Sunken)) != 0;
    const int inset = isLit ? 2 : 3;
    handle = bar.orientation == Qt::Vertical ? handle.adjusted(inset, 2, -inset, -2)
                                             : handle.adjusted(2, inset, -2, -inset);
    QColor fill = HalvenorTheme::hoverTint();
    fill.setAlphaF(isLit ? 0.32F : 0.16F);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    const double radius = std::min(handle.width(), handle.height()) / 2.0;
    painter.drawRoundedRect(QRectF(handle), radius, radius);
    painter.restore();
}

}  // namespace

ApplicationStyle::ApplicationStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void ApplicationStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                     QPainter* painter, const QWidget* widget) const {
    switch (element) {
        case PE_PanelMenu:
            painter->fillRect(option->rect, menuSurface());
            return;
        case PE_FrameMenu:
            painter->setPen(HalvenorTheme::hairline());
            painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
            return;
        case PE_PanelTipLabel:
            painter->fillRect(option->rect, menuSurface());
            painter->setPen(HalvenorTheme::hairline());
            painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
            return;
        case PE_PanelLineEdit: {
            if ((option->state & State_ReadOnly) != 0) {
                return;  // A text to select from, not a field.
            }
            QColor fill = HalvenorTheme::hoverTint();
            fill.setAlphaF(0.06F);
            const bool hasFocus = (option->state & State_HasFocus) != 0;
            drawPlate(*painter, QRectF(option->rect), fieldRadius(option->rect), fill,
                      hasFocus ? HalvenorTheme::focusRing() : HalvenorTheme::hairline());
            return;
        }
        case PE_FrameLineEdit:
            return;
        case PE_IndicatorCheckBox:
            drawCheckBox(*painter, *option);
            return;
        case PE_FrameFocusRect:
            paintRing(*painter, QRectF(option->rect), 5);
            return;
        default:
            QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void ApplicationStyle::drawControl(ControlElement element, const QStyleOption* option,
                                   QPainter* painter, const QWidget* widget) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (element == CE_MenuItem && item != nullptr) {
        drawMenuItem(*painter, *item);
        return;
    }
    if (element == CE_MenuEmptyArea) {
        return;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void ApplicationStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                          QPainter* painter, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_ScrollBar && bar != nullptr) {
        drawScrollBar(*painter, *bar, subControlRect(control, option, SC_ScrollBarSlider, widget),
                      option->palette.color(QPalette::Base));
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect ApplicationStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                       SubControl subControl, const QWidget* widget) const {
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || bar == nullptr) {
        return QProxyStyle::subControlRect(control, option, subControl, widget);
    }
    const bool isVertical = bar->orientation == Qt::Vertical;
    const int length = isVertical ? bar->rect.height() : bar->rect.width();
    const qint64 range = qint64{bar->maximum} - bar->minimum;
    int handle = length;
    if (range > 0) {
        handle = static_cast<int>(qint64{bar->pageStep} * length / (range + bar->pageStep));
        handle = std::clamp(handle, std::min(32, length), length);
    }
    const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                              length - handle, bar->upsideDown);
    const auto part = [&](int from, int to) {
        const QRect along = isVertical ? QRect(0, from, bar->rect.width(), to - from)
                                       : QRect(from, 0, to - from, bar->rect.height());
        return visualRect(bar->direction, bar->rect, along.translated(bar->rect.topLeft()));
    };
    switch (subControl) {
        case SC_ScrollBarSlider:
            return part(start, start + handle);
        case SC_ScrollBarSubPage:
            return part(0, start);
        case SC_ScrollBarAddPage:
            return part(start + handle, length);
        case SC_ScrollBarGroove:
            return bar->rect;
        default:
            return {};
    }
}

QSize ApplicationStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                         const QSize& size, const QWidget* widget) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (type != CT_MenuItem || item == nullptr) {
        return QProxyStyle::sizeFromContents(type, option, size, widget);
    }
    if (item->menuItemType == QStyleOptionMenuItem::Separator) {
        return {size.width(), 9};
    }
    const int textWidth =
        QFontMetrics(item->font).horizontalAdvance(item->text.section(QLatin1Char('\t'), 0, 0));
    const int icon = item->maxIconWidth > 0 ? menuIconColumn : 0;
    const int arrow = item->menuItemType == QStyleOptionMenuItem::SubMenu ? 16 : 0;
    return {std::max(textWidth + icon + arrow + 2 * menuSidePadding + 12, 140), menuRowHeight};
}

int ApplicationStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                                  const QWidget* widget) const {
    switch (metric) {
        case PM_ScrollBarExtent:
            return scrollBarExtent;
        case PM_IndicatorWidth:
        case PM_IndicatorHeight:
            return 16;
        case PM_CheckBoxLabelSpacing:
            return 8;
        case PM_ScrollBarSliderMin:
            return 32;
        case PM_MenuVMargin:
            return 4;
        case PM_MenuHMargin:
            return 0;
        case PM_MenuPanelWidth:
            return 1;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int ApplicationStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                                QStyleHintReturn* data) const {
    switch (hint) {
        case SH_ScrollBar_LeftClickAbsolutePosition:
            return 1;
        case SH_ToolTip_WakeUpDelay:
            return 600;
        case SH_ItemView_ScrollMode:
            return 1;
        default:
            return QProxyStyle::styleHint(hint, option, widget, data);
    }
}

}  // namespace halvenor
