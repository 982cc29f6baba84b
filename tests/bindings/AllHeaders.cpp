// Every public header, as another compiler sees it.

#include <QxUtils.h>
#include <qxutils_c.h>

#include <QxCodec.h>
#include <QxCorrection.h>
#include <QxSysMgt.h>

static_assert(sizeof(qx_check_measure) == sizeof(CheckMeasure));
