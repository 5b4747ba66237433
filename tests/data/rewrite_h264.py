#!/usr/bin/env python3
"""Header rewriter for Annex B CAVLC I/P H.264 streams.

Parses the sequence and picture parameter sets (H.264 clauses 7.3.2.1,
7.3.2.2) and every slice header (clause 7.3.3 with ref_pic_list_modification,
pred_weight_table and dec_ref_pic_marking), lets a rule change the parsed
fields, writes the header bits again and appends the rest of the NAL unit
unchanged: the remaining bits up to the rbsp_stop_one_bit are copied bit for
bit, then the stop bit and alignment zeros are written (clause 7.3.2.11).
Emulation prevention bytes are removed on reading and inserted again on
writing (clause 7.4.1).

Usage: rewrite_h264.py RULE IN.264 OUT.264
RULE is one of: identity, poc0, poc1, poc1nonref, mmco, mmco5, poc0mmco5, reorder,
deblock2.
Used by make_streams.sh to make streams with features that x264 never writes.
"""
import sys


class Reader:
    def __init__(self, data):
        self.data = data
        self.pos = 0

    def u(self, n):
        v = 0
        for _ in range(n):
            byte = self.data[self.pos >> 3]
            v = (v << 1) | ((byte >> (7 - (self.pos & 7))) & 1)
            self.pos += 1
        return v

    def ue(self):
        zeros = 0
        while self.u(1) == 0:
            zeros += 1
        return (1 << zeros) - 1 + self.u(zeros)

    def se(self):
        k = self.ue()
        return (k + 1) // 2 if k & 1 else -(k // 2)

    def stop_bit_pos(self):
        # Position of the rbsp_stop_one_bit: the last 1 bit of the RBSP.
        i = len(self.data) - 1
        while self.data[i] == 0:
            i -= 1
        byte = self.data[i]
        bit = 7
        while not (byte >> (7 - bit)) & 1:
            bit -= 1
        return i * 8 + bit


class Writer:
    def __init__(self):
        self.bits = []

    def u(self, n, v):
        assert 0 <= v < (1 << n) or n == 0 and v == 0, (n, v)
        for i in range(n - 1, -1, -1):
            self.bits.append((v >> i) & 1)

    def ue(self, v):
        assert v >= 0
        v += 1
        n = v.bit_length()
        self.u(n - 1, 0)
        self.u(n, v)

    def se(self, v):
        self.ue(2 * v - 1 if v > 0 else -2 * v)

    def copy(self, reader, end):
        while reader.pos < end:
            self.bits.append(reader.u(1))

    def finish(self):
        self.bits.append(1)
        while len(self.bits) % 8:
            self.bits.append(0)
        out = bytearray()
        for i in range(0, len(self.bits), 8):
            v = 0
            for b in self.bits[i:i + 8]:
                v = (v << 1) | b
            out.append(v)
        return bytes(out)


def unescape(nal):
    out = bytearray()
    zeros = 0
    for b in nal:
        if zeros >= 2 and b == 3:
            zeros = 0
            continue
        out.append(b)
        zeros = zeros + 1 if b == 0 else 0
    return bytes(out)


def escape(rbsp):
    out = bytearray()
    zeros = 0
    for b in rbsp:
        if zeros >= 2 and b <= 3:
            out.append(3)
            zeros = 0
        out.append(b)
        zeros = zeros + 1 if b == 0 else 0
    return bytes(out)


def split_annexb(data):
    """Yields (start code bytes, NAL bytes) pairs."""
    starts = []
    i = 0
    while True:
        i = data.find(b"\x00\x00\x01", i)
        if i < 0:
            break
        sc = 4 if i > 0 and data[i - 1] == 0 else 3
        starts.append((i + 3 - sc, i + 3))
        i += 3
    for k, (s, p) in enumerate(starts):
        end = starts[k + 1][0] if k + 1 < len(starts) else len(data)
        yield data[s:p], data[p:end]


HIGH_PROFILES = (100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135)


def parse_sps(r):
    s = {}
    s["profile_idc"] = r.u(8)
    s["constraint"] = r.u(8)
    s["level_idc"] = r.u(8)
    s["sps_id"] = r.ue()
    s["chroma_format_idc"] = 1
    if s["profile_idc"] in HIGH_PROFILES:
        s["chroma_format_idc"] = r.ue()
        if s["chroma_format_idc"] == 3:
            s["separate_colour_plane"] = r.u(1)
        s["bit_depth_luma_minus8"] = r.ue()
        s["bit_depth_chroma_minus8"] = r.ue()
        s["qpprime_y_zero_bypass"] = r.u(1)
        s["seq_scaling_matrix_present"] = r.u(1)
        if s["seq_scaling_matrix_present"]:
            raise ValueError("scaling matrices are not handled")
    s["log2_max_frame_num_minus4"] = r.ue()
    s["poc_type"] = r.ue()
    if s["poc_type"] == 0:
        s["log2_max_poc_lsb_minus4"] = r.ue()
    elif s["poc_type"] == 1:
        s["delta_pic_order_always_zero"] = r.u(1)
        s["offset_for_non_ref_pic"] = r.se()
        s["offset_for_top_to_bottom_field"] = r.se()
        s["offset_for_ref_frame"] = [r.se() for _ in range(r.ue())]
    s["max_num_ref_frames"] = r.ue()
    s["gaps_allowed"] = r.u(1)
    s["width_mbs_minus1"] = r.ue()
    s["height_map_units_minus1"] = r.ue()
    s["frame_mbs_only"] = r.u(1)
    if not s["frame_mbs_only"]:
        s["mbaff"] = r.u(1)
    s["direct_8x8_inference"] = r.u(1)
    s["cropping"] = r.u(1)
    if s["cropping"]:
        s["crop"] = [r.ue() for _ in range(4)]
    s["vui"] = parse_vui(r) if r.u(1) else None
    return s


# VUI fields in syntax order (Annex E.1.1) as (name, kind, bits, condition):
# kind "u" with a bit count or "ue"; condition names the flag that must be 1.
VUI_FIELDS = [
    ("aspect_ratio_info_present", "u", 1, None), ("aspect_ratio_idc", "u", 8, "aspect_ratio_info_present"),
    ("sar_width", "u", 16, "extended_sar"), ("sar_height", "u", 16, "extended_sar"),
    ("overscan_info_present", "u", 1, None), ("overscan_appropriate", "u", 1, "overscan_info_present"),
    ("video_signal_type_present", "u", 1, None), ("video_format", "u", 3, "video_signal_type_present"),
    ("video_full_range", "u", 1, "video_signal_type_present"),
    ("colour_description_present", "u", 1, "video_signal_type_present"),
    ("colour_primaries", "u", 8, "colour_description_present"),
    ("transfer_characteristics", "u", 8, "colour_description_present"),
    ("matrix_coefficients", "u", 8, "colour_description_present"),
    ("chroma_loc_info_present", "u", 1, None), ("chroma_loc_top", "ue", 0, "chroma_loc_info_present"),
    ("chroma_loc_bottom", "ue", 0, "chroma_loc_info_present"),
    ("timing_info_present", "u", 1, None), ("num_units_in_tick", "u", 32, "timing_info_present"),
    ("time_scale", "u", 32, "timing_info_present"), ("fixed_frame_rate", "u", 1, "timing_info_present"),
    ("nal_hrd_present", "u", 1, None), ("vcl_hrd_present", "u", 1, None),
    ("pic_struct_present", "u", 1, None), ("bitstream_restriction", "u", 1, None),
    ("mvs_over_pic_boundaries", "u", 1, "bitstream_restriction"),
    ("max_bytes_per_pic_denom", "ue", 0, "bitstream_restriction"),
    ("max_bits_per_mb_denom", "ue", 0, "bitstream_restriction"),
    ("log2_max_mv_length_horizontal", "ue", 0, "bitstream_restriction"),
    ("log2_max_mv_length_vertical", "ue", 0, "bitstream_restriction"),
    ("max_num_reorder_frames", "ue", 0, "bitstream_restriction"),
    ("max_dec_frame_buffering", "ue", 0, "bitstream_restriction"),
]


def vui_present(v, cond):
    if cond == "extended_sar":
        return v.get("aspect_ratio_info_present") and v.get("aspect_ratio_idc") == 255
    return cond is None or v.get(cond)


def parse_vui(r):
    v = {}
    for name, kind, bits, cond in VUI_FIELDS:
        if vui_present(v, cond):
            v[name] = r.u(bits) if kind == "u" else r.ue()
        if name == "vcl_hrd_present" and (v["nal_hrd_present"] or v["vcl_hrd_present"]):
            raise ValueError("HRD parameters are not handled")
    return v


def write_vui(w, v):
    for name, kind, bits, cond in VUI_FIELDS:
        if vui_present(v, cond):
            if kind == "u":
                w.u(bits, v[name])
            else:
                w.ue(v[name])


def write_sps(w, s):
    w.u(8, s["profile_idc"])
    w.u(8, s["constraint"])
    w.u(8, s["level_idc"])
    w.ue(s["sps_id"])
    if s["profile_idc"] in HIGH_PROFILES:
        w.ue(s["chroma_format_idc"])
        if s["chroma_format_idc"] == 3:
            w.u(1, s["separate_colour_plane"])
        w.ue(s["bit_depth_luma_minus8"])
        w.ue(s["bit_depth_chroma_minus8"])
        w.u(1, s["qpprime_y_zero_bypass"])
        w.u(1, s["seq_scaling_matrix_present"])
    w.ue(s["log2_max_frame_num_minus4"])
    w.ue(s["poc_type"])
    if s["poc_type"] == 0:
        w.ue(s["log2_max_poc_lsb_minus4"])
    elif s["poc_type"] == 1:
        w.u(1, s["delta_pic_order_always_zero"])
        w.se(s["offset_for_non_ref_pic"])
        w.se(s["offset_for_top_to_bottom_field"])
        w.ue(len(s["offset_for_ref_frame"]))
        for o in s["offset_for_ref_frame"]:
            w.se(o)
    w.ue(s["max_num_ref_frames"])
    w.u(1, s["gaps_allowed"])
    w.ue(s["width_mbs_minus1"])
    w.ue(s["height_map_units_minus1"])
    w.u(1, s["frame_mbs_only"])
    if not s["frame_mbs_only"]:
        w.u(1, s["mbaff"])
    w.u(1, s["direct_8x8_inference"])
    w.u(1, s["cropping"])
    if s["cropping"]:
        for c in s["crop"]:
            w.ue(c)
    w.u(1, s["vui"] is not None)
    if s["vui"] is not None:
        write_vui(w, s["vui"])


def parse_pps(r):
    p = {}
    p["pps_id"] = r.ue()
    p["sps_id"] = r.ue()
    p["cabac"] = r.u(1)
    p["pic_order_present"] = r.u(1)
    p["num_slice_groups_minus1"] = r.ue()
    if p["num_slice_groups_minus1"]:
        raise ValueError("slice groups are not handled")
    p["num_ref_idx_l0_default_minus1"] = r.ue()
    p["num_ref_idx_l1_default_minus1"] = r.ue()
    p["weighted_pred"] = r.u(1)
    p["weighted_bipred_idc"] = r.u(2)
    p["pic_init_qp_minus26"] = r.se()
    p["pic_init_qs_minus26"] = r.se()
    p["chroma_qp_index_offset"] = r.se()
    p["deblocking_control_present"] = r.u(1)
    p["constrained_intra_pred"] = r.u(1)
    p["redundant_pic_cnt_present"] = r.u(1)
    return p  # any High-profile extension is copied


def write_pps(w, p):
    w.ue(p["pps_id"])
    w.ue(p["sps_id"])
    w.u(1, p["cabac"])
    w.u(1, p["pic_order_present"])
    w.ue(p["num_slice_groups_minus1"])
    w.ue(p["num_ref_idx_l0_default_minus1"])
    w.ue(p["num_ref_idx_l1_default_minus1"])
    w.u(1, p["weighted_pred"])
    w.u(2, p["weighted_bipred_idc"])
    w.se(p["pic_init_qp_minus26"])
    w.se(p["pic_init_qs_minus26"])
    w.se(p["chroma_qp_index_offset"])
    w.u(1, p["deblocking_control_present"])
    w.u(1, p["constrained_intra_pred"])
    w.u(1, p["redundant_pic_cnt_present"])


def is_p(slice_type):
    return slice_type % 5 in (0, 3)


def is_b(slice_type):
    return slice_type % 5 == 1


def parse_slice(r, nal_type, nal_ref_idc, sps, pps):
    h = {}
    h["first_mb"] = r.ue()
    h["slice_type"] = r.ue()
    h["pps_id"] = r.ue()
    if pps["cabac"]:
        raise ValueError("CABAC slices are not handled")
    h["frame_num"] = r.u(sps["log2_max_frame_num_minus4"] + 4)
    if not sps["frame_mbs_only"]:
        h["field_pic"] = r.u(1)
        if h["field_pic"]:
            h["bottom_field"] = r.u(1)
    field = h.get("field_pic", 0)
    if nal_type == 5:
        h["idr_pic_id"] = r.ue()
    if sps["poc_type"] == 0:
        h["poc_lsb"] = r.u(sps["log2_max_poc_lsb_minus4"] + 4)
        if pps["pic_order_present"] and not field:
            h["delta_poc_bottom"] = r.se()
    if sps["poc_type"] == 1 and not sps["delta_pic_order_always_zero"]:
        h["delta_poc"] = [r.se()]
        if pps["pic_order_present"] and not field:
            h["delta_poc"].append(r.se())
    if pps["redundant_pic_cnt_present"]:
        h["redundant_pic_cnt"] = r.ue()
    if is_b(h["slice_type"]):
        raise ValueError("B slices are not handled")
    if is_p(h["slice_type"]):
        h["override"] = r.u(1)
        if h["override"]:
            h["num_ref_idx_l0_active_minus1"] = r.ue()
        h["mods"] = None
        if r.u(1):
            h["mods"] = []
            while True:
                idc = r.ue()
                if idc == 3:
                    break
                h["mods"].append((idc, r.ue()))
        if pps["weighted_pred"]:
            n = h.get("num_ref_idx_l0_active_minus1", pps["num_ref_idx_l0_default_minus1"]) + 1
            pw = {"luma_log2": r.ue()}
            if sps["chroma_format_idc"]:
                pw["chroma_log2"] = r.ue()
            pw["entries"] = []
            for _ in range(n):
                e = {}
                if r.u(1):
                    e["luma"] = (r.se(), r.se())
                if sps["chroma_format_idc"] and r.u(1):
                    e["chroma"] = [r.se() for _ in range(4)]
                pw["entries"].append(e)
            h["pred_weight"] = pw
    if nal_ref_idc:
        if nal_type == 5:
            h["no_output_of_prior_pics"] = r.u(1)
            h["long_term_reference"] = r.u(1)
        else:
            h["mmco"] = None
            if r.u(1):
                h["mmco"] = []
                while True:
                    op = r.ue()
                    if op == 0:
                        break
                    args = []
                    if op in (1, 3):
                        args.append(r.ue())
                    if op == 2:
                        args.append(r.ue())
                    if op in (3, 6):
                        args.append(r.ue())
                    if op == 4:
                        args.append(r.ue())
                    h["mmco"].append((op, *args))
    h["slice_qp_delta"] = r.se()
    if h["slice_type"] % 5 in (3, 4):
        raise ValueError("SP and SI slices are not handled")
    if pps["deblocking_control_present"]:
        h["deblock_idc"] = r.ue()
        if h["deblock_idc"] != 1:
            h["alpha_div2"] = r.se()
            h["beta_div2"] = r.se()
    return h


def write_slice(w, h, nal_type, nal_ref_idc, sps, pps):
    w.ue(h["first_mb"])
    w.ue(h["slice_type"])
    w.ue(h["pps_id"])
    w.u(sps["log2_max_frame_num_minus4"] + 4, h["frame_num"])
    if not sps["frame_mbs_only"]:
        w.u(1, h["field_pic"])
        if h["field_pic"]:
            w.u(1, h["bottom_field"])
    field = h.get("field_pic", 0)
    if nal_type == 5:
        w.ue(h["idr_pic_id"])
    if sps["poc_type"] == 0:
        w.u(sps["log2_max_poc_lsb_minus4"] + 4, h["poc_lsb"])
        if pps["pic_order_present"] and not field:
            w.se(h["delta_poc_bottom"])
    if sps["poc_type"] == 1 and not sps["delta_pic_order_always_zero"]:
        w.se(h["delta_poc"][0])
        if pps["pic_order_present"] and not field:
            w.se(h["delta_poc"][1])
    if pps["redundant_pic_cnt_present"]:
        w.ue(h["redundant_pic_cnt"])
    if is_p(h["slice_type"]):
        w.u(1, h["override"])
        if h["override"]:
            w.ue(h["num_ref_idx_l0_active_minus1"])
        w.u(1, h["mods"] is not None)
        if h["mods"] is not None:
            for idc, v in h["mods"]:
                w.ue(idc)
                w.ue(v)
            w.ue(3)
        if pps["weighted_pred"]:
            pw = h["pred_weight"]
            w.ue(pw["luma_log2"])
            if sps["chroma_format_idc"]:
                w.ue(pw["chroma_log2"])
            for e in pw["entries"]:
                w.u(1, "luma" in e)
                if "luma" in e:
                    w.se(e["luma"][0])
                    w.se(e["luma"][1])
                if sps["chroma_format_idc"]:
                    w.u(1, "chroma" in e)
                    if "chroma" in e:
                        for v in e["chroma"]:
                            w.se(v)
    if nal_ref_idc:
        if nal_type == 5:
            w.u(1, h["no_output_of_prior_pics"])
            w.u(1, h["long_term_reference"])
        else:
            w.u(1, h["mmco"] is not None)
            if h["mmco"] is not None:
                for op, *args in h["mmco"]:
                    w.ue(op)
                    for a in args:
                        w.ue(a)
                w.ue(0)
    w.se(h["slice_qp_delta"])
    if pps["deblocking_control_present"]:
        w.ue(h["deblock_idc"])
        if h["deblock_idc"] != 1:
            w.se(h["alpha_div2"])
            w.se(h["beta_div2"])


class Rule:
    """Identity rule; subclasses change fields in place."""

    def sps(self, s):
        pass

    def pps(self, p):
        pass

    def slice(self, h, pic, idr, sps, pps):
        """pic counts pictures from 0 in decoding order."""


class Poc0(Rule):
    # pic_order_cnt_type 0 with a 4-bit pic_order_cnt_lsb that wraps every 8
    # frames; delta_pic_order_cnt_bottom present and varied, bottom >= top - 1.
    def sps(self, s):
        s["poc_type"] = 0
        s["log2_max_poc_lsb_minus4"] = 0

    def pps(self, p):
        p["pic_order_present"] = 1

    def slice(self, h, pic, idr, sps, pps):
        if idr:
            self.since_idr = pic
        n = pic - self.since_idr
        h["poc_lsb"] = (2 * n) % 16
        h["delta_poc_bottom"] = (0, 1, -1, 3)[pic % 4]


class Poc1(Rule):
    # pic_order_cnt_type 1, a cycle of three offsets, delta_pic_order_cnt[0]
    # in 0..1 and [1] in -1..2: POC keeps increasing in decoding order.
    def sps(self, s):
        s["poc_type"] = 1
        s["delta_pic_order_always_zero"] = 0
        s["offset_for_non_ref_pic"] = -3
        s["offset_for_top_to_bottom_field"] = 1
        s["offset_for_ref_frame"] = [2, 5, 3]

    def pps(self, p):
        p["pic_order_present"] = 1

    def slice(self, h, pic, idr, sps, pps):
        h["delta_poc"] = [pic % 2, (0, -1, 2)[pic % 3]]
        if idr:  # the IDR picture stays as long-term reference 0 (clause 8.2.5.1)
            h["long_term_reference"] = 1


class Poc1NonRef(Poc1):
    # pic_order_cnt_type 1 with non-reference P pictures (nal_ref_idc 0) on a
    # --ref 3 stream: offset_for_non_ref_pic applies to them (clause
    # 8.2.1.2), they are never marked, and frame_num counts only reference
    # pictures, so later frame_num values are renumbered.  Each P picture
    # still has three references.  POC increases in decoding order.
    NONREF = (5, 9, 10, 14, 17)

    def __init__(self):
        self.dropped = 0
        self.run = 0

    def sps(self, s):
        super().sps(s)
        s["offset_for_non_ref_pic"] = 1
        s["offset_for_ref_frame"] = [4, 6, 5]

    def slice(self, h, pic, idr, sps, pps):
        super().slice(h, pic, idr, sps, pps)
        if idr:
            self.dropped = 0
        max_fn = 1 << (sps["log2_max_frame_num_minus4"] + 4)
        h["frame_num"] = (h["frame_num"] - self.dropped) % max_fn
        if pic in self.NONREF and not idr:
            if h["slice_index"] == 0:
                self.run = self.run + 1 if pic - 1 in self.NONREF else 1
            h["nal_ref_idc"] = 0
            h["delta_poc"][0] = self.run

    def end_picture(self, pic):
        if pic in self.NONREF:
            self.dropped += 1


class Reorder(Rule):
    # Output order differs from decoding order without B slices: from picture
    # 6 on, every second P picture is a non-reference picture whose POC (type
    # 0, 4-bit lsb) lies before that of the reference picture decoded just
    # before it; max_num_reorder_frames 1.  With three references filling the
    # three-frame DPB, such a picture is output at once (clause C.4.5.2).
    FIRST = 6

    def __init__(self):
        self.dropped = 0
        self.idr_pic = 0

    def sps(self, s):
        s["poc_type"] = 0
        s["log2_max_poc_lsb_minus4"] = 0
        s["vui"]["max_num_reorder_frames"] = 1
        s["vui"]["max_dec_frame_buffering"] = s["max_num_ref_frames"]

    def slice(self, h, pic, idr, sps, pps):
        if idr:
            self.dropped = 0
            self.idr_pic = pic
        max_fn = 1 << (sps["log2_max_frame_num_minus4"] + 4)
        h["frame_num"] = (h["frame_num"] - self.dropped) % max_fn
        n = pic - self.idr_pic
        poc = 2 * n
        if n >= self.FIRST:
            if (n - self.FIRST) % 2 == 0:
                poc += 2
            else:
                poc -= 2
                h["nal_ref_idc"] = 0
        h["poc_lsb"] = poc % 16

    def end_picture(self, pic):
        n = pic - self.idr_pic
        if n >= self.FIRST and (n - self.FIRST) % 2 == 1:
            self.dropped += 1


class Mmco(Rule):
    # Memory management control operations on a --ref 3 stream (three
    # references, kept full): at each chosen picture the number of
    # references after marking stays three, so every ref_idx stays valid.
    # (op, args...): 1 difference_of_pic_nums_minus1, 2 long_term_pic_num,
    # 3 difference_of_pic_nums_minus1 + long_term_frame_idx, 4
    # max_long_term_frame_idx_plus1, 6 long_term_frame_idx.
    PLAN = {
        5: [(1, 1)],                    # drop frame_num-2 (not the oldest)
        8: [(4, 2), (1, 2), (6, 0)],    # two long-term indices; drop oldest; current -> LT 0
        11: [(3, 1, 1), (2, 0)],        # frame_num-2 -> LT 1; LT 0 unused
        14: [(4, 1)],                   # LT 1 removed by the new maximum
        15: [(1, 1), (6, 0)],           # drop frame_num-2 (short 12,14 left), current -> LT 0
        19: [(3, 0, 0)],                # frame_num-1 -> LT 0 (old LT 0 freed)
        20: [(2, 0), (4, 2), (6, 1)],   # LT 0 unused, current -> LT 1
        22: [(1, 0), (3, 2, 0)],        # drop frame_num-1, frame_num-3 -> LT 0: the older
                                        # long-term picture has the lower index
    }

    def slice(self, h, pic, idr, sps, pps):
        if pic in self.PLAN and not idr:
            h["mmco"] = list(self.PLAN[pic])


class Mmco5(Rule):
    # memory_management_control_operation 5 on a --ref 1 stream: after it
    # frame_num restarts (clause 7.4.3: the next reference picture has
    # frame_num 1), so later frame_num values are renumbered up to the next IDR.
    AT = (4, 9, 10)

    def __init__(self):
        self.base = 0
        self.last_pic = -1

    def slice(self, h, pic, idr, sps, pps):
        max_fn = 1 << (sps["log2_max_frame_num_minus4"] + 4)
        if idr:
            self.base = 0
        h["frame_num"] = (h["frame_num"] - self.base) % max_fn
        if pic in self.AT and not idr:
            h["mmco"] = [(5,)]
            if pic != self.last_pic:
                self.pending = (self.base + h["frame_num"]) % max_fn
        self.last_pic = pic

    def end_picture(self, pic):
        if pic in self.AT and hasattr(self, "pending"):
            self.base = self.pending
            del self.pending


class Poc0Mmco5(Mmco5):
    # Operation 5 with pic_order_cnt_type 0 (5-bit lsb) on a one-reference
    # stream whose DPB (max_dec_frame_buffering 3) holds pictures for output.
    # The picture with operation 5 has delta_pic_order_cnt_bottom -7, so
    # after it TopFieldOrderCnt is 7 and prevPicOrderCntLsb must be 7 (clause
    # 8.2.1.1); the next picture's lsb of 20 then gives POC 20, whereas a
    # prevPicOrderCntLsb of 0 would give 20 - 32 and a wrong output order.
    def __init__(self):
        super().__init__()
        self.top = 0
        self.after_reset = False

    def sps(self, s):
        s["poc_type"] = 0
        s["log2_max_poc_lsb_minus4"] = 1
        s["vui"]["max_dec_frame_buffering"] = 3

    def pps(self, p):
        p["pic_order_present"] = 1

    def slice(self, h, pic, idr, sps, pps):
        super().slice(h, pic, idr, sps, pps)
        if h["slice_index"] == 0:
            if idr:
                self.top = 0
            elif pic in self.AT:
                self.top += 8  # POC top - 7 still after the previous picture
            elif self.after_reset:
                self.top = 20
            else:
                self.top += 2
            self.after_reset = pic in self.AT and not idr
        h["poc_lsb"] = self.top % 32
        h["delta_poc_bottom"] = -7 if pic in self.AT and not idr else (0, 1, 2)[pic % 3]

    def end_picture(self, pic):
        super().end_picture(pic)
        if pic in self.AT:
            self.top = 7


class Deblock2(Rule):
    # disable_deblocking_filter_idc 2 (slice-boundary edges not filtered)
    # in some slices, 0 in others, with varied offsets.
    def slice(self, h, pic, idr, sps, pps):
        k = h["slice_index"]
        idc = (2, 0, 2, 2, 0)[(pic + k) % 5]
        h["deblock_idc"] = idc
        if idc != 1:
            h["alpha_div2"] = (0, 3, -2, 6)[(pic + 2 * k) % 4]
            h["beta_div2"] = (0, -3, 2, 6)[(pic + k) % 4]


RULES = {"identity": Rule, "poc0": Poc0, "poc1": Poc1, "poc1nonref": Poc1NonRef, "mmco": Mmco, "mmco5": Mmco5, "poc0mmco5": Poc0Mmco5,
         "reorder": Reorder,
         "deblock2": Deblock2}


def rewrite(data, rule):
    out = bytearray()
    spss, ppss, orig_spss, orig_ppss = {}, {}, {}, {}
    pic = -1
    slice_index = 0
    for sc, nal in split_annexb(data):
        if not nal:
            out += sc
            continue
        nal_type = nal[0] & 31
        nal_ref_idc = (nal[0] >> 5) & 3
        if nal_type not in (1, 5, 7, 8):
            out += sc + nal
            continue
        r = Reader(unescape(nal[1:]))
        w = Writer()
        if nal_type == 7:
            s = parse_sps(r)
            end = r.stop_bit_pos()
            rest = Reader(r.data)
            rest.pos = r.pos
            orig_spss[s["sps_id"]] = dict(s)
            rule.sps(s)
            write_sps(w, s)
            spss[s["sps_id"]] = s
        elif nal_type == 8:
            p = parse_pps(r)
            end = r.stop_bit_pos()
            rest = Reader(r.data)
            rest.pos = r.pos
            orig_ppss[p["pps_id"]] = dict(p)
            rule.pps(p)
            write_pps(w, p)
            ppss[p["pps_id"]] = p
        else:
            # The original parameter sets give the syntax read, the rewritten
            # ones the syntax written.
            peek = Reader(r.data)
            peek.ue()
            peek.ue()
            pps_id = peek.ue()
            pps, opps = ppss[pps_id], orig_ppss[pps_id]
            sps, osps = spss[pps["sps_id"]], orig_spss[opps["sps_id"]]
            h = parse_slice(r, nal_type, nal_ref_idc, osps, opps)
            end = r.stop_bit_pos()
            rest = Reader(r.data)
            rest.pos = r.pos
            if h["first_mb"] == 0:
                if pic >= 0 and hasattr(rule, "end_picture"):
                    rule.end_picture(pic)
                pic += 1
                slice_index = 0
            h["slice_index"] = slice_index
            slice_index += 1
            h["nal_ref_idc"] = nal_ref_idc
            rule.slice(h, pic, nal_type == 5, sps, pps)
            nal_ref_idc = h["nal_ref_idc"]
            write_slice(w, h, nal_type, nal_ref_idc, sps, pps)
        w.copy(rest, end)
        out += sc + bytes([(nal[0] & 0x9F) | nal_ref_idc << 5]) + escape(w.finish())
    return bytes(out)


def main():
    if len(sys.argv) != 4 or sys.argv[1] not in RULES:
        sys.exit(__doc__)
    with open(sys.argv[2], "rb") as f:
        data = f.read()
    with open(sys.argv[3], "wb") as f:
        f.write(rewrite(data, RULES[sys.argv[1]]()))


if __name__ == "__main__":
    main()
