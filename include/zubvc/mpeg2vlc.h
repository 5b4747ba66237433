/* libzubvcpx - MPEG-1/MPEG-2 variable-length code tables: building multi-level
 * look-up tables from a caller's code list and decoding single values and
 * run-level pairs with them.  Included through <zubvc.h>. */
#ifndef ZUBVC_MPEG2VLC_H
#define ZUBVC_MPEG2VLC_H

#include "core.h"

/* ---------------------------------------------------------------------------
 * Source list: the caller's description of a prefix code, 32-bit words:
 *   [0]           not read (free for the caller's use);
 *   [1]           N, the number of look-up levels (at least 1);
 *   [2 .. N+1]    w_0 .. w_(N-1), the bits looked up at each level, root
 *                 first; c_k = w_0 + ... + w_k are the level boundaries;
 *   [N+2 ...]     one group per code length 1, 2, 3, ... without gaps: a
 *                 count n_L (may be 0) and n_L records; the list ends at the
 *                 first negative count.
 * A record is (code, value) for a single-value table and (code, run, level)
 * for a run-level table; the code is its L bits right-aligned, L being given
 * by the group.  Codes longer than c_(N-1) are dropped.  Widths, counts and
 * codes are trusted: widths must lie in 1..16 and the code be prefix-free
 * for the table to decode it (a later code overwrites an earlier one where it
 * is not).
 *
 * Built table (32-bit words, allocated with zubsMalloc_8u, owned by the
 * caller, freed with zubiHuffmanTableFree_32s): word 0 holds w_0, words
 * 1 .. 2^w_0 the root entries; sub-tables follow, each its width and 2^w
 * entries.  Every word starts as the filler 0x00F0F101 (value fields 0xF0F1:
 * no code).  A link has 0x80 in its low byte and the word index of the
 * sub-table in bits 8..31.  A leaf holds in its low byte the looked-up bits
 * that do not belong to the code (given back to the stream) and above it:
 *   single value:  value << 8 (a signed 24-bit value; 0xF0F1 is reserved);
 *   run-level:     level (low 16 bits) << 16 | (run & 0xFF) << 8 (run 241
 *                  with level 240 is reserved: it reads as the filler).
 * Building a single-value table does not follow an existing link whose
 * sub-table index is a multiple of 256 (its bits 8..15 are zero): the code is
 * then walked on in the current sub-table.  Code lists whose tables never
 * give a second code such a link (every small table, and a root of at most
 * 8 bits with sub-tables of at most 4) are not affected.  Writes that a
 * non-prefix-free list or that exception would place outside the allocation
 * are dropped.
 *
 * The decoders read at the word cursor (*ppBitStream, *pBitOffset) of
 * zubiDecodeExpGolombOne_H264_1u16s; the offset is not range-checked (only
 * its low five bits are used).
 * ------------------------------------------------------------------------- */

/* Builds a single-value table from pSrcTable and stores it in *ppDstTable.
 * Checks: pSrcTable, ppDstTable (-8).  Returns ZubStatusNoMemory (-9), with
 * *ppDstTable null, when an allocation fails or the table would need more
 * than 2^24 words (a level width outside 1..30 counts as such). */
ZUBVC_API ZubStatus zubiHuffmanTableInitAlloc_32s(const Zub32s* pSrcTable, Zub32s** ppDstTable);
/* The same for a run-level table (records of three words). */
ZUBVC_API ZubStatus zubiHuffmanRunLevelTableInitAlloc_32s(const Zub32s* pSrcTable, Zub32s** ppDstTable);
/* Frees a table of either builder.  Checks: pDecodeTable (-8). */
ZUBVC_API ZubStatus zubiHuffmanTableFree_32s(Zub32s* pDecodeTable);

/* Decodes one code of a single-value table into *pDst.
 * Checks: ppBitStream, pBitOffset, pDecodeTable, then *ppBitStream, then
 * pDst (-8).  A bit pattern that starts no code gives ZubStatusVlcError
 * (-74) with *pDst = 0xF0F1 and the cursor after every bit looked up (it is
 * not put back). */
ZUBVC_API ZubStatus zubiDecodeHuffmanOne_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub32s* pDst,
                                               const Zub32s* pDecodeTable);
/* Decodes one code of a run-level table into *pRun and *pLevel.
 * Checks: ppBitStream, pBitOffset, pDecodeTable, pRun, pLevel, then
 * *ppBitStream (-8).  A bit pattern that starts no code gives
 * ZubStatusVlcError (-74) with the cursor where it stood and nothing
 * written. */
ZUBVC_API ZubStatus zubiDecodeHuffmanPair_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                const Zub32s* pDecodeTable, Zub8u* pRun, Zub16s* pLevel);

/* ---------------------------------------------------------------------------
 * Run-level encoding of DCT blocks (ISO/IEC 11172-2 clause 2.4.3.7, ISO/IEC
 * 13818-2 clause 6.2.6).
 *
 * Encode tables are built from the same source lists as the decode tables
 * and freed with zubiFreeRLEncodeTable.  kind 1: a run-level list (Tables
 * B.14, B.15: run 254 end of block, run 255 escape; both must be present for
 * the table to be usable); kind 0: a single-value list (dct_dc_size, Tables
 * B.12, B.13).  Codes longer than 24 bits are left out of an encode table (a
 * run-level pair without a code is escaped).  The table is a block of 32-bit
 * words: the kind, then its codes; callers treat it as opaque.
 *
 * The writers append at a word cursor (*ppBitStream, *pBitOffset) that
 * mirrors the reading cursor: native 32-bit words, the offset (31..0) naming
 * the next bit to write, bit 31 first.  The first word touched keeps its bits
 * above the offset and receives the new bits below them; every further word
 * is stored whole, so the bits after the last written bit are zero and
 * nothing beyond the cursor is preserved.  On success the cursor stands after
 * the block; a byte stream is the words' bytes most significant first.
 *
 * pSrcBlock holds the quantised levels in raster order; pScan is the scan
 * (64 raster indices, as for the block reconstruction; only their low six
 * bits are used).  mpegVersion 1 writes the escapes of ISO/IEC 11172-2 (6-bit
 * run, 8-bit level, or 0x00 / 0x80 and 8 bits for magnitudes 128..255),
 * 2 those of ISO/IEC 13818-2 (6-bit run, 12-bit level).  Levels must lie in
 * -255..255 (MPEG-1) or -2047..2047 (MPEG-2).
 *
 * Checks: pointers, then *ppBitStream (-8); *pBitOffset above 31 (-5);
 * mpegVersion other than 1 and 2, or a table of the wrong kind (-5); a level
 * outside the range, a DC differential whose size the DC table does not code,
 * or a non-intra block without coefficients (ZubStatusOutOfRange, -11).
 * Nothing is written on an error.
 *
 * Round trip over a coded stream: for each block note the bit position where
 * it starts, read its run-level codes with zubiDecodeHuffmanPair_1u16s on the
 * decode table (a non-intra block whose first bit is 1 starts with "1s", two
 * bits; run 255 is followed by the escape's run and level: 6 + 12 bits for
 * MPEG-2, 6 + 8 (+ 8 after a byte of 0x00 or 0x80) for MPEG-1; run 254 ends
 * the block), store each level at pScan[i] of a cleared block, and call the
 * writer with the encode table of the same source list and a cursor on a
 * scratch buffer: the bits written equal the stream's bits of the block.  For
 * intra blocks read the DC differential d with the DC size table, set
 * pSrcBlock[0] = pred + d and pass pred in *pDCPred (DC-level units, as the
 * MPEG-2 reconstruction holds it; for MPEG-1 one eighth of that function's
 * predictor).  The reconstruct functions themselves do not give the levels
 * back exactly (mismatch control, oddification).
 * ------------------------------------------------------------------------- */

/* kind: 0 single-value list, 1 run-level list.  Allocates through
 * zubsMalloc_8u.  Checks: pointers (-8); kind (-5); ZubStatusNoMemory (-9)
 * when the allocation fails. */
ZUBVC_API ZubStatus zubiCreateRLEncodeTable(const Zub32s* pSrcTable, int kind, Zub32s** ppDstTable);
/* Frees an encode table.  Checks: pTable (-8). */
ZUBVC_API ZubStatus zubiFreeRLEncodeTable(Zub32s* pTable);

/* An intra block: dct_dc_size and dct_dc_differential of
 * d = pSrcBlock[0] - *pDCPred (then *pDCPred = pSrcBlock[0]), the AC levels
 * of scan positions 1..63, end of block.  pDCSizeTable: kind 0 (B.12 or
 * B.13); pRLTable: kind 1 (B.14, or B.15 for intra_vlc_format 1). */
ZUBVC_API ZubStatus zubiPutIntraBlock(Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub16s* pSrcBlock,
                                      Zub16s* pDCPred, const Zub32s* pDCSizeTable, const Zub32s* pRLTable,
                                      const Zub32s* pScan, int mpegVersion);
/* A non-intra block: the levels of scan positions 0..63 (a first run 0,
 * level +-1 as "1s"), end of block.  pRLTable: kind 1 (B.14). */
ZUBVC_API ZubStatus zubiPutNonIntraBlock(Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub16s* pSrcBlock,
                                         const Zub32s* pRLTable, const Zub32s* pScan, int mpegVersion);

#endif
