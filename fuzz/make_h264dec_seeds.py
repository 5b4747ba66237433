#!/usr/bin/env python3
"""Writes the hand-made seeds of fuzz_h264dec into fuzz/corpus/h264dec/: the
smallest test stream with its sequence parameter set rewritten (by
tests/data/rewrite_h264.py; the slice data is copied bit for bit) into forms
the x264 streams never take, so that the fuzzer starts from them:
High profile syntax, every VUI field, and level_idc values of each row of the
MaxDpbMbs table.  Usage: fuzz/make_h264dec_seeds.py (from anywhere)."""
import os
import sys

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
sys.path.insert(0, os.path.join(root, "tests", "data"))
import rewrite_h264  # noqa: E402

FULL_VUI = {
    "aspect_ratio_info_present": 1, "aspect_ratio_idc": 255, "sar_width": 4, "sar_height": 3,
    "overscan_info_present": 1, "overscan_appropriate": 1,
    "video_signal_type_present": 1, "video_format": 5, "video_full_range": 0,
    "colour_description_present": 1, "colour_primaries": 1, "transfer_characteristics": 1,
    "matrix_coefficients": 1, "chroma_loc_info_present": 1, "chroma_loc_top": 0, "chroma_loc_bottom": 0,
    "timing_info_present": 1, "num_units_in_tick": 1, "time_scale": 50, "fixed_frame_rate": 1,
    "nal_hrd_present": 0, "vcl_hrd_present": 0, "pic_struct_present": 0, "bitstream_restriction": 1,
    "mvs_over_pic_boundaries": 1, "max_bytes_per_pic_denom": 0, "max_bits_per_mb_denom": 0,
    "log2_max_mv_length_horizontal": 16, "log2_max_mv_length_vertical": 16,
    "max_num_reorder_frames": 0, "max_dec_frame_buffering": 2,
}


class SpsRule(rewrite_h264.Rule):
    def __init__(self, **fields):
        self.fields = fields

    def sps(self, s):
        if self.fields.get("profile_idc") in rewrite_h264.HIGH_PROFILES:
            s.update(chroma_format_idc=1, bit_depth_luma_minus8=0, bit_depth_chroma_minus8=0,
                     qpprime_y_zero_bypass=0, seq_scaling_matrix_present=0)
        s.update(self.fields)


def main():
    with open(os.path.join(root, "tests", "data", "ffmpeg_mandel_cqp.264"), "rb") as f:
        data = f.read()
    out = os.path.join(root, "fuzz", "corpus", "h264dec")
    os.makedirs(out, exist_ok=True)
    seeds = {"high_profile": SpsRule(profile_idc=100), "full_vui": SpsRule(vui=FULL_VUI)}
    for level in (9, 11, 20, 21, 30, 31, 32, 40, 42, 50, 51, 60):
        seeds["level_%d" % level] = SpsRule(level_idc=level)
    for name, rule in seeds.items():
        with open(os.path.join(out, name + ".264"), "wb") as f:
            f.write(rewrite_h264.rewrite(data, rule))


if __name__ == "__main__":
    main()
