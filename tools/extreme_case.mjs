// The minimum and maximum map: each member of a case class goes to the lowest or the highest of its class.
//
// Two code points of the range U+0000 to U+FFFF are case-related when one is the simple uppercase, lowercase or
// titlecase mapping of the other or when both have the same simple case folding. The connected groups of this
// relation are the classes.

import assert from 'node:assert/strict';
import { blockSize, blockCount } from './two_stage.mjs';

// U+00DF stays in both maps, although U+1E9E has it as its minimum.
const unmoved = 0x00df;

const steps = (first, last) => Array.from({ length: last - first + 1 }, (_, i) => first + i);
const minBlocks = [...steps(0, 11), 0x27, 0x39, 0x3c, 0x3d, 0x3e, 0x3f, 0x42, 0x43, 0x49, 0x58, 0x59, 0x5a,
  0x14c, 0x14d, 0x14e, 0x14f, 0x156, 0x157, 0x1fe];
const maxBlocks = [...steps(0, 10), 0x21, 0x27, 0x39, 0x3a, 0x3c, 0x3d, 0x3e, 0x3f, 0x42, 0x43, 0x49, 0x58,
  0x59, 0x14c, 0x14d, 0x14e, 0x14f, 0x1fe];

// Pairs of related code points: [code point, what it maps to], of every mapping there is.
export function caseRelations(unicode) {
  const rows = [];
  for (const map of unicode.simpleMappings) {
    for (const [from, to] of map) {
      if (from <= 0xffff && to <= 0xffff && from !== to) rows.push([from, to]);
    }
  }
  // Folded alike means related to the folding, but where that lies outside the range.
  const foldedFrom = new Map();
  for (const [from, to] of unicode.foldings) {
    if (from > 0xffff) continue;
    if (to <= 0xffff) rows.push([from, to]);
    else if (foldedFrom.has(to)) rows.push([from, foldedFrom.get(to)]);
    else foldedFrom.set(to, from);
  }
  return rows;
}

function caseClasses(rows) {
  const classOf = new Map();
  for (const [a, b] of rows) {
    const joined = [...new Set([...(classOf.get(a) ?? [a]), ...(classOf.get(b) ?? [b])])];
    for (const c of joined) classOf.set(c, joined);
  }
  return classOf;
}

function table(classOf, pick, knownBlocks, greatest) {
  const meta = [];
  const shift = [];
  const blocks = [];
  for (let block = 0; block < blockCount; ++block) {
    const entries = steps(block * blockSize, block * blockSize + blockSize - 1)
      .map((c) => (c === unmoved || !classOf.has(c) ? 0 : pick(...classOf.get(c)) - c));
    const isChanged = entries.some((entry) => entry !== 0);
    meta.push(isChanged ? shift.length : -1);
    if (!isChanged) continue;
    blocks.push(block);
    shift.push(...entries);
  }
  assert.deepEqual(blocks, knownBlocks);
  const sizes = shift.map(Math.abs);
  assert.equal(sizes.reduce((a, b) => Math.max(a, b)), greatest);
  return { meta, shift };
}

export function extremeCase(unicode) {
  const classOf = caseClasses(caseRelations(unicode));
  const min = table(classOf, Math.min, minBlocks, 42319);
  const max = table(classOf, Math.max, maxBlocks, 42319);
  assert.equal(min.shift.length, 3968);
  assert.equal(max.shift.length, 3712);
  return { min, max };
}
