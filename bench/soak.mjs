// What takes minutes: memory flat over many requests, p99 at 32 connections, and the rate with 5,000 idle connections.
// A line of verdict for each; fails if one isn't held. bench/soak.mjs [REQUESTS] [P99 SECONDS] [IDLE ROUNDS]
import { freePort, idleEffect, listSite, load, machine, memory, nextPageUrl, startVarnel, threads } from './servers.mjs';

const requests = Number(process.argv[2] ?? 500_000);
const seconds = Number(process.argv[3] ?? 20);
const part = Math.max(2, Math.ceil(seconds / 3));  // wrk takes whole seconds
const idleRounds = Number(process.argv[4] ?? 3);
const mostSeconds = 1800;  // of the first part, however slow the machine is

let failures = 0;
function verdict(held, text) {
  console.log(`${held ? 'held    ' : 'NOT HELD'}  ${text}`);
  if (!held) ++failures;
}

const port = await freePort();
const varnel = await startVarnel(listSite(port), port);
const url = await nextPageUrl(port);
console.log(`${machine()}; ${threads} script threads`);

// The engines' heaps and the pools of memory have their size after a tenth of the requests.
const samples = [];
let done = 0;
let failed = 0;
let warm = 0;
const begun = Date.now();
while (done < requests && (Date.now() - begun) / 1000 < mostSeconds) {
  const { rate, failed: bad, errors } = await load(url, 5);
  done += Math.round(rate * 5);
  failed += bad + (errors ? 1 : 0);
  const now = memory(varnel.pid);
  if (done < requests / 10 || samples.length === 0) warm = now;
  samples.push(now);
  if (samples.length % 10 === 0) console.log(`          ${done} requests, ${now.toFixed(1)} MB`);
}
const end = Math.max(...samples.slice(-3));
verdict(done >= requests && failed === 0, `${done} requests of ${requests} were answered, ${failed} failed`);
verdict(end <= warm * 1.1 + 4, `memory ${warm.toFixed(1)} MB after warming up, ${end.toFixed(1)} MB at the end`);

let p99 = Infinity;
for (let round = 0; round < 3; ++round) p99 = Math.min(p99, (await load(url, part)).p99);
verdict(p99 < 30, `p99 ${p99.toFixed(1)} ms at 32 connections (below 30)`);

const ratio = await idleEffect(url, 5000, idleRounds, part);
verdict(ratio >= 0.95, `rate with 5,000 idle connections ${ratio.toFixed(2)} of that without (at least 0.95)`);

process.exit(failures === 0 ? 0 : 1);
