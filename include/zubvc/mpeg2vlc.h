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

#endif
