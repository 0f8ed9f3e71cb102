#pragma once

class QObject;

// Hands the board signals of gUsbDevCommand to a view. Views share no base class, they
// only offer the same seven slots, so the connections are made by name.
class Global
{
public:
    static void connectUSBSlots(QObject *view);
};
