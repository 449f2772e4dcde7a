#pragma once

#include <QIcon>
#include <QMovie>
#include <QPixmap>

#include <memory>

class QSize;

/// The numbers of the suite's images.
enum AFCQ_IMAGE : int
{
    afcq_window_icon = 1,
    afcq_logo = 2,
    afcq_checking_movie = 3,
    afcq_failed_icon = 253,
    afcq_not_checked_icon = 541,
    afcq_passed_icon = 544,
    afcq_waiting_icon = 601,
    afcq_downloading_icon = 602,
    afcq_retrying_icon = 603,
    afcq_installing_icon = 604,
    afcq_installed_icon = 605,
    afcq_checking_icon = 606,
    afcq_stopped_icon = 607,
    afcq_information_icon = 611,
    afcq_question_icon = 612,
    afcq_warning_icon = 613,
    afcq_error_icon = 614
};

/// The icon with that number, sharp at every size; null when there is no such image.
QIcon afcq_get_icon(int number);

/// The image with that number, drawn for a size.
/// \param size   in logical pixels; the image keeps its proportions inside it
/// \param ratio  device pixels of one logical pixel
QPixmap afcq_get_pixmap(int number, const QSize& size, qreal ratio);

/// The animation with that number, at the smallest available resolution that is not below the
/// ratio; invalid when there is no such image. It is not running.
std::unique_ptr<QMovie> afcq_get_movie(int number, qreal ratio);

/// The frame delay of that animation in milliseconds, as stored in the file; 0 when there is no
/// such image. QMovie's own value is reduced by the time it took to read the frame.
int afcq_get_frame_delay(int number);
