/* libzubvcpx - H.264 weighted and bi-directional prediction, plane expansion.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264WEIGHT_H
#define ZUBVC_H264WEIGHT_H

#include "core.h"

#endif
