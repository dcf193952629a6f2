// Breaks clusters of real servers on loopback under a site that is being visited, and tells what the visitors saw.
// faults.mjs [NAME...]: replica, tls, galera, web; all of them without a name.
import { report } from "./report.mjs";
import { galera } from "./galera.mjs";
import { replica } from "./replica.mjs";
import { tls } from "./tls.mjs";
import { web } from "./web.mjs";

const all = { replica, tls, galera, web };

const names = process.argv.length > 2 ? process.argv.slice(2) : Object.keys(all);
const unknown = names.filter((name) => !(name in all));
if (unknown.length > 0) {
  console.error(`There is no fault "${unknown[0]}": ${Object.keys(all).join(", ")}`);
  process.exit(2);
}
for (const name of names) {
  try {
    await all[name]();
  } catch (error) {
    console.log(`  NOT HELD  ${name} came to no end: ${error.stack}`);
    report.broken += 1;
  }
}
console.log(`\n${report.faults} faults, ${report.broken} expectations that didn't hold`);
process.exit(report.broken === 0 ? 0 : 1);
