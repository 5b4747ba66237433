/* libzubvcpx - H.264 CAVLC residual decoding and inverse DC transforms.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264RESIDUAL_H
#define ZUBVC_H264RESIDUAL_H

#include "core.h"

#endif
