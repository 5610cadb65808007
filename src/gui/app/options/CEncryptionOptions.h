#pragma once
// The "Encryption" page: whether new archives and additions are encrypted, and the
// encryption method, fixed or asked before adding.

#include "app/options/CPlainOptions.h"

class CEncryptionOptions : public CPlainOptions {
    Q_OBJECT
public:
    explicit CEncryptionOptions(QWidget* parent = nullptr);
};
