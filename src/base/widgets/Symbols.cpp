// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/widgets/Symbols.h"

#include <QFile>
#include <QImage>
#include <QLoggingCategory>
#include <QPainter>
#include <QPixmapCache>
#include <QSet>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>

// The resources lie in a static library, where nothing else keeps them from being left out by the
// linker. The macro declares a function of the global namespace, hence this place.
static void registerResources()
{
    static const bool isRegistered = [] {
        Q_INIT_RESOURCE(symbols);
        Q_INIT_RESOURCE(icons);
        return true;
    }();
    Q_UNUSED(isRegistered)
}

namespace vellumhound::base {

using namespace Qt::StringLiterals;

namespace {

Q_LOGGING_CATEGORY(log, "vellumhound.base")

QString fileOf(const QString &name)
{
    return u":/symbols/"_s + name + u".svg"_s;
}

QString knownName(const QString &name)
{
    if (hasSymbol(name))
        return name;
    static QSet<QString> complainedAbout;
    if (!complainedAbout.contains(name)) {
        complainedAbout.insert(name);
        qCWarning(log).noquote() << "no symbol named" << name;
    }
    return u"doc.fill"_s;
}

QImage rendered(const QString &file, int devicePixels)
{
    QImage image(devicePixels, devicePixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(file);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, devicePixels, devicePixels));
    return image;
}

/// The shape of the symbol, filled with the colour wherever the drawing is opaque.
QPixmap tinted(const QString &name, int devicePixels, const QColor &color)
{
    auto image = rendered(fileOf(name), devicePixels);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    return QPixmap::fromImage(std::move(image));
}

/// `ratio` is only what the pixmap says of itself; a cached one must not be changed, which would
/// copy its pixels at each drawing.
QPixmap symbolInDevicePixels(
    const QString &name, int devicePixels, double ratio, const QColor &color)
{
    const auto key = u"symbol/%1/%2/%3/%4"_s.arg(name)
                         .arg(devicePixels)
                         .arg(ratio)
                         .arg(quint64(color.rgba64()), 0, 16);
    // Qt's own cache is bounded and goes with the application.
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = tinted(knownName(name), devicePixels, color);
        pixmap.setDevicePixelRatio(ratio);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

}  // namespace

bool hasSymbol(const QString &name)
{
    registerResources();
    return !name.isEmpty() && QFile::exists(fileOf(name));
}

QPixmap symbolPixmap(const QString &name, int sizePx, double devicePixelRatio, const QColor &color)
{
    const int devicePixels = std::max(1, int(std::lround(sizePx * devicePixelRatio)));
    return symbolInDevicePixels(name, devicePixels, devicePixelRatio, color);
}

void paintSymbol(QPainter &painter, const QRectF &rect, const QString &name, const QColor &color)
{
    const auto &transform = painter.deviceTransform();
    const auto side = std::min(rect.width(), rect.height());
    const auto scale = std::hypot(transform.m11(), transform.m12());
    const int devicePixels = int(std::lround(side * scale));
    if (devicePixels <= 0)
        return;
    const auto pixmap = symbolInDevicePixels(name, devicePixels, 1.0, color);
    // Under a rotation or a shear there is no pixel grid to keep to.
    if (transform.type() > QTransform::TxScale) {
        painter.drawPixmap(QRectF(rect.center() - QPointF(side, side) / 2, QSizeF(side, side)),
            pixmap, QRectF(pixmap.rect()));
        return;
    }
    const auto center = transform.map(rect.center());
    const QPointF corner(
        std::round(center.x() - devicePixels / 2.0), std::round(center.y() - devicePixels / 2.0));
    const auto target =
        transform.inverted().mapRect(QRectF(corner, QSizeF(devicePixels, devicePixels)));
    painter.drawPixmap(target, pixmap, QRectF(pixmap.rect()));
}

QPixmap applicationIcon(int sizePx, double devicePixelRatio)
{
    registerResources();
    const int devicePixels = std::max(1, int(std::lround(sizePx * devicePixelRatio)));
    auto pixmap =
        QPixmap::fromImage(rendered(u":/icons/org.vellumhound.Vellumhound.svg"_s, devicePixels));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

QColor toQColor(const Color &color)
{
    return QColor::fromRgbF(
        float(color.red), float(color.green), float(color.blue), float(color.alpha));
}

Color toColor(const QColor &color)
{
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

}  // namespace vellumhound::base
