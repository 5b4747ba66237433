// The frame hash of zubvc-h264dec: the examples' common MD5.
#ifndef H264DEC_MD5_H
#define H264DEC_MD5_H

#include "common/md5.h"

namespace h264dec {
using Md5 = zubex::Md5;
}

#endif
