// The list page, with sealed links too, against a bare program: how much of its rate is left, p99 at 32 connections, memory, and what 5,000
// idle connections cost. bench/page.mjs [ROUNDS] [SECONDS]
import path from 'node:path';
import { build, freePort, idleEffect, interleaved, listSite, machine, memory, nextPageUrl, start, startVarnel, table, threads } from './servers.mjs';

const rounds = Number(process.argv[2] ?? 5);
const seconds = Number(process.argv[3] ?? 4);
const port = await freePort();
const site = listSite(port);
const varnel = await startVarnel(site, port);
const url = await nextPageUrl(port);
const sealedPort = await freePort();
const sealedVarnel = await startVarnel(listSite(sealedPort, 'sealed'), sealedPort);
const sealedUrl = await nextPageUrl(sealedPort);
const bytes = (await (await fetch(url)).arrayBuffer()).byteLength;
const barePort = await freePort();
const bare = await start(path.join(build, 'bench_bare'), [path.join(site, 'items.db'), barePort, threads, bytes], barePort);

console.log(`${machine()}; ${threads} script threads; a page of ${bytes} bytes`);
const [page, sealed, baseline] = await interleaved(
  [{ name: 'list page', url, pids: [varnel.pid] },
    { name: 'sealed list page', url: sealedUrl, pids: [sealedVarnel.pid] },
    { name: 'bare program', url: `http://127.0.0.1:${barePort}/`, pids: [bare.pid] }], rounds, seconds);
console.log(table([
  ['', 'requests/s', 'CPU us each', 'p99 ms', 'MB', 'of bare'],
  ...[[page, varnel], [sealed, sealedVarnel], [baseline, bare]].map(([result, child]) => [
    result.name, result.rate.toFixed(0), result.cpu.toFixed(0), result.p99.toFixed(1), memory(child.pid).toFixed(0), (result.rate / baseline.rate).toFixed(2)])
]));
if (page.failed + sealed.failed + baseline.failed > 0) throw new Error('some requests failed');
console.log(`rate with 5,000 idle connections: ${(await idleEffect(url, 5000, 3, seconds)).toFixed(2)} of that without`);
console.log(`list page ${(page.rate / baseline.rate).toFixed(2)} of the bare program's rate (to be reached: 0.5)`);
console.log(`sealed links: ${(sealed.rate / page.rate).toFixed(3)} of the rate, ${(sealed.cpu / page.cpu).toFixed(3)} of the processor time (to be kept: 1.05)`);
process.exit(0);
