/* libzubvcpx - H.264 intra prediction.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264INTRA_H
#define ZUBVC_H264INTRA_H

#include "core.h"

#endif
