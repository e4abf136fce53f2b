#ifndef KSR_DESKTOP_WINDOW_PICTURE_H
#define KSR_DESKTOP_WINDOW_PICTURE_H

#include <string>

class QWidget;

// Saves what `window` shows as a PNG file at its own size; false with
// `error` set when the file cannot be written.
bool saveWindowPicture(QWidget& window, const std::string& path, std::string& error);

#endif
