/* libzubvcpx: video-coding block primitives (portable "px" build).
 *
 * Conventions shared by every function:
 *  - Each function returns a ZubStatus: 0 success, negative error, positive
 *    warning.
 *  - Arguments are checked before anything is written, in this order:
 *    pointers for null (-8, including pointers held by cursors), then sizes
 *    and steps (-6, -14), then the ranges of the other arguments in argument
 *    order, then conditions across arguments.  Decoders document what their
 *    cursor and output hold after a bitstream error.
 *  - Row steps of 8-bit functions count bytes; the H.264 16-bit sample
 *    functions count samples.
 *  - Cursors and coefficient pointers passed by address are advanced in place.
 */
#ifndef ZUBVC_H
#define ZUBVC_H

#include "zubvc/core.h"
#include "zubvc/h264residual.h"
#include "zubvc/h264intra.h"
#include "zubvc/h264interpolate.h"
#include "zubvc/h264weight.h"
#include "zubvc/h264deblock.h"
#include "zubvc/h264recon.h"
#include "zubvc/mpeg2vlc.h"
#include "zubvc/mpeg2quant.h"
#include "zubvc/mpeg2idct.h"
#include "zubvc/mc.h"

#endif
