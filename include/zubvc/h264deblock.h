/* libzubvcpx - H.264 deblocking filter.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264DEBLOCK_H
#define ZUBVC_H264DEBLOCK_H

#include "core.h"

#endif
