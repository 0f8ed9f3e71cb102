#pragma once

#include <QPixmap>
#include <QString>
#include <QStringList>

// The window's large pictures cost milliseconds each to decode. Asked for ahead, they are
// decoded on a thread of their own while the window is still being built, and whoever
// needs one takes it from here, waiting only for what is not done yet.
//
// Both calls belong to the GUI thread.
namespace PicturesAhead {

// Starts decoding `paths`, one after the other, in this order.
void decode(const QStringList &paths);

// The picture at `path`: the one decoded ahead when it was asked for (each is handed out
// once), otherwise read now. A picture that cannot be read is a null pixmap either way.
QPixmap take(const QString &path);

// For a picture that is taken in when it is first painted: the first call takes the one at
// `path` into `picture` and clears `path`; later calls leave both alone.
void takeOnce(QString &path, QPixmap &picture);

} // namespace PicturesAhead
