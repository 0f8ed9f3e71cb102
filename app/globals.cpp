#include "app/globals.h"

TUsbDevCommand *gUsbDevCommand = nullptr;
QString gImagesPath;
int gLanguage = 0;
