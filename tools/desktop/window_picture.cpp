#include "window_picture.h"

#include <QPixmap>
#include <QString>
#include <QWidget>

bool saveWindowPicture(QWidget& window, const std::string& path, std::string& error)
{
    // The window paints itself into the picture: the same pixels on any
    // display, without the window manager's frame.
    const QPixmap picture = window.grab();
    if (picture.isNull()) {
        error = "cannot take a picture of the window";
        return false;
    }
    // Quality 0 is the strongest (lossless) PNG compression.
    if (!picture.save(QString::fromStdString(path), "PNG", 0)) {
        error = "cannot write the picture to " + path;
        return false;
    }
    return true;
}
