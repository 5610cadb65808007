#pragma once
// The "Creation and Adding" page: how a new archive is named, and the compression level and
// method, each fixed or asked before adding. The lists are the packer's own levels and
// methods; their indexes are what the settings keep.

#include "app/options/CPlainOptions.h"

class CCreationOptions : public CPlainOptions {
    Q_OBJECT
public:
    explicit CCreationOptions(QWidget* parent = nullptr);
};
