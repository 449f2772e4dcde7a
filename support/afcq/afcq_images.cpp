#include "support/afcq/afcq_images.h"

#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QSize>
#include <QString>

#include <cmath>

/// Registers the resources of a static library. Q_INIT_RESOURCE must not be used in a namespace.
static void load_afcq_images()
{
    Q_INIT_RESOURCE(afcq);
}

namespace
{

QString image_path(int number, const QString& ending)
{
    static const bool loaded = (load_afcq_images(), true);
    static_cast<void>(loaded);
    return QStringLiteral(":/afcq/images/%1%2").arg(number).arg(ending);
}

}

QIcon afcq_get_icon(int number)
{
    const QString path = image_path(number, ".svg");
    return QFile::exists(path) ? QIcon(path) : QIcon();
}

QPixmap afcq_get_pixmap(int number, const QSize& size, qreal ratio)
{
    // An icon without a window uses the resolution of the sharpest screen.
    const qreal icon_ratio =
        QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps) ? qApp->devicePixelRatio() : 1;
    QPixmap pixmap = afcq_get_icon(number).pixmap(nullptr, size * ratio / icon_ratio);
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

namespace
{

QString movie_path(int number, qreal ratio)
{
    for (int scale = static_cast<int>(std::ceil(ratio)); scale > 1; --scale)
    {
        const QString path = image_path(number, QStringLiteral("@%1x.gif").arg(scale));
        if (QFile::exists(path))
            return path;
    }
    return image_path(number, ".gif");
}

}

std::unique_ptr<QMovie> afcq_get_movie(int number, qreal ratio)
{
    auto movie = std::make_unique<QMovie>(movie_path(number, ratio));
    // Without a cache, a frame can only be reached from the previous one.
    movie->setCacheMode(QMovie::CacheAll);
    return movie;
}

int afcq_get_frame_delay(int number)
{
    QImageReader reader(movie_path(number, 1));
    return reader.read().isNull() ? 0 : reader.nextImageDelay();
}
