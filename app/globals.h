#pragma once

#include <QString>

class TUsbDevCommand;

// Process-wide state shared by the views.
extern TUsbDevCommand *gUsbDevCommand; // the one board protocol object, a child of the main window
extern QString gImagesPath;            // the images folder chosen last
extern int gLanguage;                  // 0 English, 1 Chinese
