// The fixed map of upper and lower case behind mhz_metatable and its four companions.
//
// The map is a snapshot with a history of its own, narrower than any version of Unicode, so it is kept here as
// data. The lower map is a list of runs; the upper map is its inverse but for the rows named below.

import assert from 'node:assert/strict';
import { blockSize, blockCount } from './two_stage.mjs';

// First code point, last, step, and what is added to a code point of the run to lower it.
const lowerRuns = [
  [0x0041, 0x005a, 1, 32], [0x00c0, 0x00d6, 1, 32], [0x00d8, 0x00de, 1, 32], [0x0100, 0x012e, 2, 1],
  [0x0132, 0x0136, 2, 1], [0x0139, 0x0147, 2, 1], [0x014a, 0x0176, 2, 1], [0x0178, 0x0178, 1, -121],
  [0x0179, 0x017d, 2, 1], [0x0181, 0x0181, 1, 210], [0x0182, 0x0184, 2, 1], [0x0186, 0x0186, 1, 206],
  [0x0187, 0x0187, 1, 1], [0x018a, 0x018a, 1, 205], [0x018b, 0x018b, 1, 1], [0x018e, 0x018f, 1, 202],
  [0x0190, 0x0190, 1, 203], [0x0191, 0x0191, 1, 1], [0x0193, 0x0193, 1, 205], [0x0194, 0x0194, 1, 207],
  [0x0196, 0x0196, 1, 211], [0x0197, 0x0197, 1, 209], [0x0198, 0x0198, 1, 1], [0x019c, 0x019c, 1, 211],
  [0x019d, 0x019d, 1, 213], [0x01a0, 0x01a4, 2, 1], [0x01a7, 0x01a7, 1, 1], [0x01a9, 0x01a9, 1, 218],
  [0x01ac, 0x01ac, 1, 1], [0x01ae, 0x01ae, 1, 218], [0x01af, 0x01af, 1, 1], [0x01b1, 0x01b2, 1, 217],
  [0x01b3, 0x01b5, 2, 1], [0x01b7, 0x01b7, 1, 219], [0x01b8, 0x01b8, 1, 1], [0x01bc, 0x01bc, 1, 1],
  [0x01c4, 0x01c4, 1, 2], [0x01c5, 0x01c5, 1, 1], [0x01c7, 0x01c7, 1, 2], [0x01c8, 0x01c8, 1, 1],
  [0x01ca, 0x01ca, 1, 2], [0x01cb, 0x01db, 2, 1], [0x01de, 0x01ee, 2, 1], [0x01f1, 0x01f1, 1, 2],
  [0x01f2, 0x01f4, 2, 1], [0x01fa, 0x0216, 2, 1], [0x0386, 0x0386, 1, 38], [0x0388, 0x038a, 1, 37],
  [0x038c, 0x038c, 1, 64], [0x038e, 0x038f, 1, 63], [0x0391, 0x03a1, 1, 32], [0x03a3, 0x03ab, 1, 32],
  [0x03da, 0x03ee, 2, 1], [0x0401, 0x040c, 1, 80], [0x040e, 0x040f, 1, 80], [0x0410, 0x042f, 1, 32],
  [0x0460, 0x0480, 2, 1], [0x0490, 0x04be, 2, 1], [0x04c1, 0x04c3, 2, 1], [0x04c7, 0x04c7, 1, 1],
  [0x04cb, 0x04cb, 1, 1], [0x04d0, 0x04ea, 2, 1], [0x04ee, 0x04f4, 2, 1], [0x04f8, 0x04f8, 1, 1],
  [0x0531, 0x0556, 1, 48], [0x10a0, 0x10c5, 1, 48], [0x1e00, 0x1e94, 2, 1], [0x1ea0, 0x1ef8, 2, 1],
  [0x1f08, 0x1f0f, 1, -8], [0x1f18, 0x1f1d, 1, -8], [0x1f28, 0x1f2f, 1, -8], [0x1f38, 0x1f3f, 1, -8],
  [0x1f48, 0x1f4d, 1, -8], [0x1f59, 0x1f5f, 2, -8], [0x1f68, 0x1f6f, 1, -8], [0x1f88, 0x1f8f, 1, -8],
  [0x1f98, 0x1f9f, 1, -8], [0x1fa8, 0x1faf, 1, -8], [0x1fb8, 0x1fb9, 1, -8], [0x1fba, 0x1fbb, 1, -74],
  [0x1fbc, 0x1fbc, 1, -9], [0x1fc8, 0x1fcb, 1, -86], [0x1fcc, 0x1fcc, 1, -9], [0x1fd8, 0x1fd9, 1, -8],
  [0x1fda, 0x1fdb, 1, -100], [0x1fe8, 0x1fe9, 1, -8], [0x1fea, 0x1feb, 1, -112], [0x1fec, 0x1fec, 1, -7],
  [0x1ff8, 0x1ff9, 1, -128], [0x1ffa, 0x1ffb, 1, -126], [0x1ffc, 0x1ffc, 1, -9], [0x2160, 0x216f, 1, 16],
  [0x24b6, 0x24cf, 1, 26], [0xff21, 0xff3a, 1, 32],];

// Letters that others lower to, but that have no uppercase: the older Coptic pairs and the Georgian letters.
const withoutUpper = [[0x03db, 0x03e1, 2], [0x10d0, 0x10f5, 1]];

// Uppercase mappings that the inverse does not give, or gives twice: the long s, the digraphs (never to the
// titlecase form), the Greek symbols.
const upperRows = [
  [0x017f, 0x0053], [0x01c5, 0x01c4], [0x01c6, 0x01c4], [0x01c8, 0x01c7], [0x01c9, 0x01c7], [0x01cb, 0x01ca],
  [0x01cc, 0x01ca], [0x01f2, 0x01f1], [0x01f3, 0x01f1], [0x03d0, 0x0392], [0x03d1, 0x0398], [0x03d5, 0x03a6],
  [0x03d6, 0x03a0], [0x03f0, 0x039a], [0x03f1, 0x03a1],
];

const knownBlocks = [0, 1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 33, 60, 61, 62, 63, 66, 73, 510];

// An entry of this value says that the target stands in the list of pairs.
const inPairs = -128;

function lowerMap() {
  const map = new Map();
  for (const [first, last, step, distance] of lowerRuns) {
    for (let c = first; c <= last; c += step) {
      assert(!map.has(c));
      map.set(c, c + distance);
    }
  }
  return map;
}

function upperMap(lower) {
  const map = new Map(upperRows);
  const named = new Set(map.keys());
  for (const [from, to] of lower) {
    if (named.has(to) || withoutUpper.some(([a, b, step]) => to >= a && to <= b && (to - a) % step === 0)) {
      continue;
    }
    assert(!map.has(to));
    map.set(to, from);
  }
  return map;
}

function shiftTable(map, blocks) {
  const shift = [];
  const pairs = [];
  for (const block of blocks) {
    for (let c = block * blockSize; c < (block + 1) * blockSize; ++c) {
      const distance = (map.get(c) ?? c) - c;
      const fits = distance > inPairs && distance <= 127;
      shift.push(fits ? distance : inPairs);
      if (!fits) pairs.push([c, c + distance]);
    }
  }
  const froms = new Set(pairs.map(([from]) => from));
  assert.equal(froms.size, pairs.length);
  assert(pairs.every(([, to]) => !froms.has(to)));
  return { shift, pairs };
}

export function caseTables() {
  const lower = lowerMap();
  const upper = upperMap(lower);
  const blocks = [...new Set([...lower.keys(), ...upper.keys()].map((c) => c >> 7))].sort((a, b) => a - b);
  assert.deepEqual(blocks, knownBlocks);
  const meta = Array(blockCount).fill(-1);
  blocks.forEach((block, index) => { meta[block] = index * blockSize; });
  const down = shiftTable(lower, blocks);
  const up = shiftTable(upper, blocks);
  assert.equal(down.shift.length, 2432);
  assert.equal(down.pairs.length, 19);
  assert.equal(up.pairs.length, 20);
  assert.deepEqual(up.pairs[0], [0x017f, 0x0053]);
  return { meta, down, up };
}
