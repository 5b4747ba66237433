/* libzubvcpx - H.264 luma and chroma interpolation and block reads through the frame boundary.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264INTERPOLATE_H
#define ZUBVC_H264INTERPOLATE_H

#include "core.h"

#endif
