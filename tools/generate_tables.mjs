// Writes the character tables of the library and the data that its tests read beside them.
//
//   node generate_tables.mjs --write    writes every file
//   node generate_tables.mjs --check    compares instead, and fails naming each file that differs
//
// The modules beside this one make the tables and assert every size that is known of them.

import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname } from 'node:path';
import { fileURLToPath } from 'node:url';

import { caseTables } from './case_snapshot.mjs';
import { characterClasses } from './character_classes.mjs';
import { array, file, filled, fromUnicode, hex, pair } from './cpp_text.mjs';
import { caseRelations, extremeCase } from './extreme_case.mjs';
import { categories, codePointCount, readUnicode } from './unicode_data.mjs';

function caseFile() {
  const { meta, down, up } = caseTables();
  const numbers = (values) => values.map(String);
  const pairs = (rows) => [...rows.flatMap(([from, to]) => [hex(from), hex(to)]), '0'];
  return file(
    ['The map of upper and lower case that needs no host: the five exported tables.'],
    'the fixed runs in tools/case_snapshot.mjs (not Unicode data)',
    `#include "vqstring/text.h"

${array('const int16_t mhz_metatable[512]', numbers(meta))}
${array('const int8_t mhz_upshift[2432]', numbers(up.shift))}
${array('const uint32_t mhz_upaux[41]', pairs(up.pairs))}
${array('const int8_t mhz_downshift[2432]', numbers(down.shift))}
${array('const uint32_t mhz_downaux[39]', pairs(down.pairs))}`);
}

function extremeFile(unicode) {
  const { min, max } = extremeCase(unicode);
  const tables = (name, { meta, shift }) => `${array(`const int32_t ${name}Meta[512]`, meta.map(String))}
${array(`const int32_t ${name}Shift[${shift.length}]`, shift.map(String))}`;
  return file(
    ['The lowest and the highest member of each case class.'], fromUnicode,
    `#include "text/tables/extreme_case.hpp"

namespace vq::text {

${tables('min', min)}
${tables('max', max)}
}  // namespace vq::text
`);
}

function rangesFile({ classes }) {
  const one = ({ name, ranges }) => `${array(`inline constexpr CodeRange ${name}Ranges[${ranges.length}]`,
    ranges.map(pair))}`;
  return file(
    ['The character classes as ranges, ascending and apart: the form to read, and the measure of the table of',
      'two stages that the library links. Nothing in the library reads this one.'],
    fromUnicode,
    `#pragma once

#include <cstdint>

namespace vq::text {

struct CodeRange {
  uint32_t first, last;
};

${classes.map(one).join('\n')}
}  // namespace vq::text
`);
}

function stagesFile({ ascii, stages }) {
  return file(
    ['The character classes as a table of two stages, and the class masks of ASCII.'], fromUnicode,
    `#include "text/tables/class_stages.hpp"

#include <iterator>

namespace vq::text {

static_assert(classBlockSize == ${stages.size} && classTableEnd == ${hex(stages.end)});

${array('const uint32_t asciiClassMasks[128]', ascii.map((mask) => hex(mask, 1)))}
static_assert(std::size(classTable.blocks) == ${stages.stage1.length} && std::size(classTable.bits) == ${stages.stage2.length});

const ClassTable classTable = {
// blocks
{
${filled(stages.stage1.map((block, index) => hex((block - index) * stages.size >>> 0, 1)))}
},
// bits
{
${filled(stages.stage2.map((bits) => hex(bits, 1)))}
}};

}  // namespace vq::text
`);
}

function categoriesFile({ category }) {
  const runs = [];
  for (let c = 0; c < codePointCount; ++c) {
    const open = runs.at(-1);
    if (open !== undefined && open.category === category[c]) open.last = c;
    else runs.push({ first: c, last: c, category: category[c] });
  }
  const items = runs.map(({ first, last, category: bit }) =>
    `{${hex(first)}, ${hex(last)}, "${categories[bit][0]}"}`);
  return file(
    ['The general category of every code point, as runs.'], fromUnicode,
    `#pragma once

namespace test {

struct CategoryRun {
  char32_t first, last;
  const char* category;
};

${array(`inline constexpr CategoryRun categoryRuns[${runs.length}]`, items)}
}  // namespace test
`);
}

function relationsFile(unicode) {
  const rows = caseRelations(unicode);
  return file(
    ['The case relation of the range U+0000 to U+FFFF: each code point with a simple mapping or folding of it.'],
    fromUnicode,
    `#pragma once

namespace test {

struct CaseRelation {
  char32_t one, other;
};

inline constexpr CaseRelation caseRelations[${rows.length}] = {
${filled(rows.map(pair))}
};

}  // namespace test
`);
}

const unicode = await readUnicode();
const classes = characterClasses(unicode);
const outputs = {
  'src/text/tables/case_tables.cpp': caseFile(),
  'src/text/tables/extreme_case.cpp': extremeFile(unicode),
  'src/text/tables/class_ranges.hpp': rangesFile(classes),
  'src/text/tables/class_stages.cpp': stagesFile(classes),
  'tests/text/tables/general_categories.hpp': categoriesFile(unicode),
  'tests/text/tables/case_relations.hpp': relationsFile(unicode),
};

const mode = process.argv[2];
if (mode !== '--write' && mode !== '--check') {
  console.error('usage: node generate_tables.mjs --write | --check');
  process.exit(2);
}
let differing = 0;
for (const [path, text] of Object.entries(outputs)) {
  const full = fileURLToPath(new URL(`../${path}`, import.meta.url));
  if (mode === '--write') {
    mkdirSync(dirname(full), { recursive: true });
    writeFileSync(full, text);
  } else if (readFileSync(full, 'utf8') !== text) {
    console.error(`${path} differs from what the generator makes`);
    ++differing;
  }
}
process.exit(differing === 0 ? 0 : 1);
