#pragma once

#include <QString>

#include <functional>

class QWidget;

// Every modal box the program shows goes through here, so that a test can answer it
// instead of a person (and headless runs never block on one).
namespace UserDialogs {

// An information box titled `title` with one OK button.
void information(QWidget *parent, const QString &title, const QString &text);

// While set, information() calls this instead of showing a box.
using InformationHandler = std::function<void(QWidget *parent, const QString &title, const QString &text)>;
void setInformationHandler(InformationHandler handler);

// A file chooser for one existing file; returns its path, or an empty string when the
// user cancels.
QString getOpenFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter);

// While set, getOpenFileName() returns what this returns instead of showing a chooser.
using OpenFileNameHandler = std::function<QString(QWidget *parent, const QString &caption,
                                                  const QString &dir, const QString &filter)>;
void setOpenFileNameHandler(OpenFileNameHandler handler);

// An existing folder, directories only and symbolic links left as they are (a DVD mounted
// under "/media" is often reached through one); empty when the user cancels.
QString existingDirectory(QWidget *parent, const QString &caption, const QString &dir);
using DirectoryHandler = std::function<QString(QWidget *parent, const QString &caption, const QString &dir)>;
void setDirectoryHandler(DirectoryHandler handler);

} // namespace UserDialogs
