#pragma once

#include <QIcon>
#include <QMovie>
#include <QPixmap>

#include <memory>

class QSize;

/// The numbers under which the suite's images are known.
enum AFCQ_IMAGE : int
{
    afcq_window_icon = 1,
    afcq_logo = 2,
    afcq_checking_movie = 3,
    afcq_failed_icon = 253,
    afcq_not_checked_icon = 541,
    afcq_passed_icon = 544
};

/// The icon of that number, sharp at every size; a null one when there is no such image.
QIcon afcq_get_icon(int number);

/// The image of that number, drawn for a size.
/// \param size   in logical pixels; the image keeps its proportions inside it
/// \param ratio  device pixels of one logical pixel
QPixmap afcq_get_pixmap(int number, const QSize& size, qreal ratio);

/// The animation of that number, made of the frames that are closest to the ratio from above; not
/// valid when there is no such image. It is not running.
std::unique_ptr<QMovie> afcq_get_movie(int number, qreal ratio);

/// How long a frame of that animation is shown, in milliseconds; 0 when there is no such image. The
/// file's own number: QMovie's is less by the time that reading the frame took.
int afcq_get_frame_delay(int number);
