/* libzubvcpx - H.264 inverse 4x4 transforms with prediction add and macroblock reconstruction.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264RECON_H
#define ZUBVC_H264RECON_H

#include "core.h"

#endif
