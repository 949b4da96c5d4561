// Reads the Unicode character database, version 9.0.0, from its npm package.

import { readFileSync } from 'node:fs';

export const unicodeVersion = '9.0.0';
export const codePointCount = 0x110000;

const packageName = '@unicode/unicode-9.0.0';

// General categories in the order of their bits in a class mask.
export const categories = [
  ['Lu', 'Uppercase_Letter'], ['Ll', 'Lowercase_Letter'], ['Lt', 'Titlecase_Letter'],
  ['Mn', 'Nonspacing_Mark'], ['Mc', 'Spacing_Mark'], ['Me', 'Enclosing_Mark'], ['Nd', 'Decimal_Number'],
  ['Nl', 'Letter_Number'], ['No', 'Other_Number'], ['Zs', 'Space_Separator'], ['Zl', 'Line_Separator'],
  ['Zp', 'Paragraph_Separator'], ['Cc', 'Control'], ['Cf', 'Format'], ['Cs', 'Surrogate'],
  ['Co', 'Private_Use'], ['Cn', 'Unassigned'], ['Lm', 'Modifier_Letter'], ['Lo', 'Other_Letter'],
  ['Pc', 'Connector_Punctuation'], ['Pd', 'Dash_Punctuation'], ['Ps', 'Open_Punctuation'],
  ['Pe', 'Close_Punctuation'], ['Pi', 'Initial_Punctuation'], ['Pf', 'Final_Punctuation'],
  ['Po', 'Other_Punctuation'], ['Sm', 'Math_Symbol'], ['Sc', 'Currency_Symbol'], ['Sk', 'Modifier_Symbol'],
  ['So', 'Other_Symbol'],
];

const load = async (path) => (await import(`${packageName}/${path}/code-points.mjs`)).default;

export async function readUnicode() {
  // The bit number of each code point's category.
  const category = new Uint8Array(codePointCount).fill(255);
  for (const [bit, [, name]] of categories.entries()) {
    for (const c of await load(`General_Category/${name}`)) category[c] = bit;
  }
  if (category.includes(255)) throw new Error('a code point has no general category');
  const simpleMappings = [];
  for (const name of ['Uppercase', 'Lowercase', 'Titlecase']) {
    simpleMappings.push(await load(`Simple_Case_Mapping/${name}`));
  }
  const foldings = new Map([...(await load('Case_Folding/C')), ...(await load('Case_Folding/S'))]);
  return { category, simpleMappings, foldings };
}

export function packageVersion() {
  const path = new URL(`node_modules/${packageName}/package.json`, import.meta.url);
  return JSON.parse(readFileSync(path, 'utf8')).version;
}
