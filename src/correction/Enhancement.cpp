#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"

// Kept: the kit calls these and expects success; there is no enhancement behind them.

int jingtaiEnhance(void*, const char*, int, int, int) {
    return StatusOk;
}

int precisionEnhance(WORD*, const char*, int, int) {
    return StatusOk;
}
