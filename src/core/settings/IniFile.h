#pragma once
// The INI reader and writer of the program's profile files (velazip.ini, bookmark files):
// section and key names match without regard to (ASCII) case, unknown sections and keys
// survive a rewrite, values are plain UTF-8 text without quoting or escaping, one value
// per key, written as "Key=Value".

// Only narrow UTF-8 text is used, so the wide-character converters are not needed, and the
// template implementation is compiled here (Debian splits it out behind SI_IMPLEMENTATION).
#ifndef SI_NO_CONVERSION
#define SI_NO_CONVERSION
#endif
#ifndef SI_IMPLEMENTATION
#define SI_IMPLEMENTATION
#endif
#include <SimpleIni.h>

class CIniFile : public CSimpleIniA {
public:
    CIniFile() : CSimpleIniA(/*a_bIsUtf8=*/true, /*a_bMultiKey=*/false, /*a_bMultiLine=*/false) {
        SetSpaces(false);
        SetQuotes(false);
    }
};

class QString;

// Reads a profile file of at most `maxSize` bytes into `ini`. False, with `ini` empty, when
// the file cannot be read, is larger, or does not parse.
bool LoadIniFile(const QString& path, CIniFile& ini, long long maxSize);
