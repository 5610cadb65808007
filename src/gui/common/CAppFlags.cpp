#include "common/CAppFlags.h"

CAppFlags& CAppFlags::Instance() {
    static CAppFlags flags;
    return flags;
}
