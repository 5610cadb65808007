#pragma once
// MS-DOS attribute bits, as zip entries carry them and as the program describes disk items
// (platform::AttributesFor maps a disk mode to them).

#include <QtGlobal>

enum DosAttribute : quint32 {
    kDosReadOnly = 0x01,
    kDosHidden = 0x02,
    kDosSystem = 0x04,
    kDosDirectory = 0x10,
    kDosArchive = 0x20,
};
