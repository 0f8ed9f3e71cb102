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

} // namespace UserDialogs
