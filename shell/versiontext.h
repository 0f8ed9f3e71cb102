#pragma once

#include <QString>

// The release shown in the status bar and on the about page.
inline QString versionText()
{
    return QStringLiteral("v1.8a build140317");
}
