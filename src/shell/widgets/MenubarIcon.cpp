// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/widgets/MenubarIcon.h"

#include "shell/MenuIconView.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cmath>

// The resources lie in a static library, where nothing else keeps them from being left out by the
// linker. The macro declares a function of the global namespace, hence this place.
static void registerResources()
{
    static const bool isRegistered = [] {
        Q_INIT_RESOURCE(tray);
        return true;
    }();
    Q_UNUSED(isRegistered)
}

namespace vellumhound::shell {

using namespace Qt::StringLiterals;

namespace {

/// The cells for which trays ask, at all usual scales.
constexpr std::array cellSizesPx{16, 22, 24, 28, 32, 44, 48};

QByteArray imageNamed(const QString &name)
{
    registerResources();
    QFile file(u":/tray/"_s + name + u".svg"_s);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the image \"%s\" is missing from the program", qUtf8Printable(name));
    return file.readAll();
}

/// The picture in one colour, in the middle of a square of device pixels.
QImage shape(QSvgRenderer &renderer, int cellDevicePx, double scale, const QColor &color)
{
    QImage image(cellDevicePx, cellDevicePx, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const auto shown = MenuIconView::shownSize(renderer.viewBoxF().size());
    const auto height = std::round(MenuIconView::heightInCell(cellDevicePx / scale) * scale);
    const auto width = height * shown.width() / shown.height();
    const QPointF corner(
        std::round((cellDevicePx - width) / 2), std::round((cellDevicePx - height) / 2));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(corner, QSizeF(width, height)));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

class MenubarIconEngine final : public QIconEngine {
public:
    explicit MenubarIconEngine(MenubarIconStyle style)
        : _style(std::move(style))
        , _image(imageNamed(QString::fromUtf16(MenuIconView::imageName)))
    {
    }

    QIconEngine *clone() const override { return new MenubarIconEngine(_style); }
    QString key() const override { return u"MenubarIcon"_s; }
    QString iconName() override { return _style.themeName; }
    bool isNull() override { return false; }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> sizes;
        for (const auto size : cellSizesPx)
            sizes.append(QSize(size, size));
        return sizes;
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1);
    }

    /// `size` is in device pixels.
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode, QIcon::State, qreal scale) override
    {
        return QPixmap::fromImage(drawn(std::min(size.width(), size.height()), scale));
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        const auto &transform = painter->deviceTransform();
        const auto scale = std::hypot(transform.m11(), transform.m12());
        const auto side = std::min(rect.width(), rect.height());
        const int devicePx = int(std::lround(side * scale));
        if (devicePx <= 0)
            return;
        // On whole device pixels, so that no edge is smeared.
        const auto center = transform.map(QRectF(rect).center());
        const QPointF corner(
            std::round(center.x() - devicePx / 2.0), std::round(center.y() - devicePx / 2.0));
        const auto target =
            transform.inverted().mapRect(QRectF(corner, QSizeF(devicePx, devicePx)));
        painter->drawImage(target, drawn(devicePx, scale));
    }

private:
    QImage drawn(int cellDevicePx, double scale)
    {
        QSvgRenderer renderer(_image);
        auto picture = shape(renderer, cellDevicePx, scale, _style.ink);
        if (!_style.halo)
            return picture;
        const auto around = shape(renderer, cellDevicePx, scale, *_style.halo);
        QImage image(picture.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        for (const auto &step : {QPointF(-1, 0), QPointF(1, 0), QPointF(0, -1), QPointF(0, 1)})
            painter.drawImage(step * std::max(1.0, std::round(scale)), around);
        painter.drawImage(QPointF(), picture);
        return image;
    }

    MenubarIconStyle _style;
    QByteArray _image;
};

}  // namespace

bool recoloursSymbolicIcons(QStringView currentDesktop)
{
    static constexpr std::array desktops{
        "KDE"_L1, "GNOME"_L1, "Unity"_L1, "X-Cinnamon"_L1, "Budgie"_L1, "COSMIC"_L1};
    return std::any_of(desktops.begin(), desktops.end(),
        [&](QLatin1StringView desktop) { return currentDesktop.split(u':').contains(desktop); });
}

QIcon menubarIcon(const MenubarIconStyle &style)
{
    return QIcon(new MenubarIconEngine(style));
}

}  // namespace vellumhound::shell
