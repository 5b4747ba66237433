#!/usr/bin/env python3
"""Writes an H.264 stream whose coded macroblocks are all I_PCM.

No encoder at hand writes I_PCM (mb_type I_PCM, clause 7.3.5), so this one
does, from raw 4:2:0 frames: an IDR picture of I_PCM macroblocks, then P
pictures of two slices each in which a pseudo-random share of the
macroblocks are I_PCM with the new frame's samples and the rest P_Skip.  The
deblocking filter is on, so every edge between a P_Skip macroblock (QP of
the slice) and an I_PCM one (QP 0 for the filter, clause 8.7.2.2) is filtered
with the average of the two; the frame is cropped to a size that is not a
multiple of 16.

Usage: make_pcm.py WIDTH HEIGHT FRAMES IN.yuv OUT.264
"""
import random
import sys

from rewrite_h264 import Writer, escape

SLICE_QP = 51
CHROMA_QP_OFFSET = -3
FILTER_OFFSET_DIV2 = 3  # alpha and beta offsets of +6


def nal(ref_idc, nal_type, w):
    return b"\x00\x00\x00\x01" + bytes([(ref_idc << 5) | nal_type]) + escape(w.finish())


def sps(wmbs, hmbs, crop_right, crop_bottom):
    w = Writer()
    w.u(8, 66)  # Baseline
    w.u(8, 0xC0)  # constraint_set0_flag, constraint_set1_flag
    w.u(8, 30)
    w.ue(0)  # seq_parameter_set_id
    w.ue(0)  # log2_max_frame_num_minus4
    w.ue(2)  # pic_order_cnt_type
    w.ue(1)  # max_num_ref_frames
    w.u(1, 0)  # gaps_in_frame_num_value_allowed_flag
    w.ue(wmbs - 1)
    w.ue(hmbs - 1)
    w.u(1, 1)  # frame_mbs_only_flag
    w.u(1, 1)  # direct_8x8_inference_flag
    w.u(1, 1)  # frame_cropping_flag: offsets in 4:2:0 crop units of 2
    for c in (0, crop_right // 2, 0, crop_bottom // 2):
        w.ue(c)
    w.u(1, 0)  # vui_parameters_present_flag
    return nal(3, 7, w)


def pps():
    w = Writer()
    w.ue(0)  # pic_parameter_set_id
    w.ue(0)  # seq_parameter_set_id
    w.u(1, 0)  # entropy_coding_mode_flag: CAVLC
    w.u(1, 0)  # bottom_field_pic_order_in_frame_present_flag
    w.ue(0)  # num_slice_groups_minus1
    w.ue(0)  # num_ref_idx_l0_default_active_minus1
    w.ue(0)  # num_ref_idx_l1_default_active_minus1
    w.u(1, 0)  # weighted_pred_flag
    w.u(2, 0)  # weighted_bipred_idc
    w.se(SLICE_QP - 26)  # pic_init_qp_minus26
    w.se(0)  # pic_init_qs_minus26
    w.se(CHROMA_QP_OFFSET)
    w.u(1, 1)  # deblocking_filter_control_present_flag
    w.u(1, 0)  # constrained_intra_pred_flag
    w.u(1, 0)  # redundant_pic_cnt_present_flag
    return nal(3, 8, w)


def pcm(w, planes, mbx, mby):
    """pcm_alignment_zero_bits and the 384 samples of one macroblock."""
    while len(w.bits) % 8:
        w.u(1, 0)
    for p, size in ((0, 16), (1, 8), (2, 8)):
        plane, stride = planes[p]
        for y in range(size):
            row = (mby * size + y) * stride + mbx * size
            for v in plane[row:row + size]:
                w.u(8, max(v, 1))  # sample value 0 is avoided, as older editions require


def slice_nal(frame_num, idr, first_mb, end_mb, wmbs, planes, coded):
    w = Writer()
    w.ue(first_mb)
    w.ue(7 if idr else 5)  # slice_type I or P, all slices of the picture alike
    w.ue(0)  # pic_parameter_set_id
    w.u(4, frame_num)
    if idr:
        w.ue(0)  # idr_pic_id
    else:
        w.u(1, 0)  # num_ref_idx_active_override_flag
        w.u(1, 0)  # ref_pic_list_modification_flag_l0
    w.u(1, 0)  # no_output_of_prior_pics_flag / adaptive_ref_pic_marking_mode_flag
    if idr:
        w.u(1, 0)  # long_term_reference_flag
    w.se(0)  # slice_qp_delta
    w.ue(0)  # disable_deblocking_filter_idc
    w.se(FILTER_OFFSET_DIV2)
    w.se(FILTER_OFFSET_DIV2)
    skip = 0
    for mb in range(first_mb, end_mb):
        if not idr and not coded[mb]:
            skip += 1
            continue
        if not idr:
            w.ue(skip)  # mb_skip_run
            skip = 0
        w.ue(25 if idr else 30)  # I_PCM (mb_type 25 of I slices, 5 + 25 in P slices)
        pcm(w, planes, mb % wmbs, mb // wmbs)
    if skip:
        w.ue(skip)
    return nal(3, 5 if idr else 1, w)


def main():
    width, height, frames = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
    raw = open(sys.argv[4], "rb").read()
    wmbs, hmbs = (width + 15) // 16, (height + 15) // 16
    pw, ph = wmbs * 16, hmbs * 16
    rng = random.Random(264)
    out = bytearray(sps(wmbs, hmbs, pw - width, ph - height) + pps())
    fsize = width * height * 3 // 2
    for f in range(frames):
        src = raw[f * fsize:(f + 1) * fsize]
        planes = []
        for p, (w, h, off) in enumerate(((width, height, 0), (width // 2, height // 2, width * height),
                                         (width // 2, height // 2, width * height * 5 // 4))):
            sw, sh = (pw, ph) if p == 0 else (pw // 2, ph // 2)
            # Edge-replicated to whole macroblocks.
            plane = bytearray()
            for y in range(sh):
                row = src[off + min(y, h - 1) * w:off + min(y, h - 1) * w + w]
                plane += row + bytes([row[-1]]) * (sw - w)
            planes.append((plane, sw))
        coded = [rng.random() < 0.3 for _ in range(wmbs * hmbs)]
        split = (wmbs * hmbs) // 2 + 3
        for first, end in ((0, split), (split, wmbs * hmbs)):
            out += slice_nal(f % 16, f == 0, first, end, wmbs, planes, coded)
    open(sys.argv[5], "wb").write(out)


if __name__ == "__main__":
    main()
