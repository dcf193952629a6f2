// What a fault showed, and whether it is what was expected.
const kLongest = 260;

export const report = { faults: 0, broken: 0 };

export function say(text) { console.log(`  ${text}`); }

export function expect(isTrue, text) {
  console.log(`  ${isTrue ? "held    " : "NOT HELD"}  ${text}`);
  if (!isTrue) report.broken += 1;
}

export function title(text) {
  report.faults += 1;
  console.log(`\n${text}`);
}

// What a log's entry says of a failure, from the server's words on.
export const cause = (text) => text.slice(Math.max(0, text.indexOf("ADO Error:"))).slice(0, kLongest);

// What visitors saw during a fault, of whom at most so many failed.
export async function expectSeen(visitors, most) {
  const seen = await visitors.seen();
  expect(seen.failed <= most, `${seen.pages} pages answered, ${seen.failed} failed (${most} at most), the slowest answer took ${seen.slowest} ms`);
  for (const [text, count] of seen.texts) say(`          ${count} times: ${cause(text)}`);
  expect(visitors.wrong.length === 0, visitors.wrong[0] ?? `every row once, in its order, in ${visitors.walks} walks to the end`);
  return seen;
}
