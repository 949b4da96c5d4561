// The character classes behind the vqnlsis predicates: their ranges, and the same sets as a table of two stages.

import assert from 'node:assert/strict';
import { categories, codePointCount } from './unicode_data.mjs';
import { share } from './two_stage.mjs';

const between = (...ranges) => (c) => ranges.some(([first, last]) => c >= first && c <= last);

const hexLetters = between([0x41, 0x46], [0x61, 0x66], [0xff21, 0xff26], [0xff41, 0xff46]);
const separators = between([0x2028, 0x2029]);

// Blanks and line ends, a set of its own: it follows no category.
const spaceRanges = [[0x9, 0xd], [0x20, 0x20], [0x85, 0x85], [0xa0, 0xa0], [0x1680, 0x1680], [0x2000, 0x200a],
  [0x2028, 0x2028], [0x2029, 0x2029], [0x202f, 0x202f], [0x205f, 0x205f], [0x3000, 0x3000]];

// Each class: its name, its categories, what is in it beside them, and the number of its ranges. The masks of
// print and graph differ from the tables at the separators and, for graph, at the private use characters; that
// is how the two paths of these predicates have always differed.
const printable = 'Lu Ll Lt Mn Mc Me Nd Nl No Zs Lm Lo Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So';
const definitions = [
  { name: 'upper', names: 'Lu', ranges: 627, last: [0x1e900, 0x1e921] },
  { name: 'lower', names: 'Ll', ranges: 633, last: [0x1e922, 0x1e943] },
  { name: 'digit', names: 'Nd', ranges: 54, last: [0x1e950, 0x1e959] },
  { name: 'alpha', names: 'Lu Ll Lt Lm Lo', ranges: 571, last: [0x2f800, 0x2fa1d] },
  { name: 'xdigit', names: 'Nd', also: hexLetters, ranges: 58, last: [0x1e950, 0x1e959] },
  { name: 'punct', names: 'Pc Pd Ps Pe Pi Pf Po', ranges: 168, last: [0x1e95e, 0x1e95f] },
  { name: 'control', names: 'Zl Zp Cc Cf', ranges: 20, last: [0xe0020, 0xe007f] },
  { name: 'print', names: printable, also: separators, ranges: 641, last: [0xe0100, 0xe01ef] },
  { name: 'graph', names: printable.replace('Zs ', ''), ranges: 641, last: [0xe0100, 0xe01ef] },
];

function rangesOf(has) {
  const ranges = [];
  for (let c = 0; c < codePointCount; ++c) {
    if (!has(c)) continue;
    const open = ranges.at(-1);
    if (open !== undefined && open[1] === c - 1) open[1] = c;
    else ranges.push([c, c]);
  }
  return ranges;
}

export function characterClasses({ category }) {
  const classes = definitions.map(({ name, names, also, ranges: count, last }) => {
    const isMember = categories.map(([code]) => names.split(' ').includes(code));
    const has = (c) => isMember[category[c]] || (also !== undefined && also(c));
    const ranges = rangesOf(has);
    assert.equal(ranges.length, count, name);
    assert.deepEqual(ranges.at(-1), last, name);
    return { name, ranges };
  });
  classes.push({ name: 'space', ranges: spaceRanges });
  const ascii = Array.from({ length: 128 }, (_, c) => 2 ** category[c]);
  return { classes, ascii, stages: stagesOf(classes) };
}

// The second stage holds a bit for each class. The table ends with the last block that has a member. Blocks of
// 128 give the smallest table.
function stagesOf(classes) {
  const size = 128;
  const end = Math.ceil((Math.max(...classes.map(({ ranges }) => ranges.at(-1)[1])) + 1) / size) * size;
  const bits = new Array(end).fill(0);
  classes.forEach(({ ranges }, index) => {
    for (const [first, last] of ranges) {
      for (let c = first; c <= last; ++c) bits[c] |= 1 << index;
    }
  });
  const stages = share(bits, size);
  assert(stages.stage2.length <= 65536);
  return { ...stages, size, end };
}
