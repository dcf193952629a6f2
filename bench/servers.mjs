// What the measurements of whole servers share: a copy of the list site with its data, servers that are started and
// ended, and wrk. Load goes to 127.0.0.1 only.
import { spawn, spawnSync } from 'node:child_process';
import { cpSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { availableParallelism, cpus, tmpdir } from 'node:os';
import net from 'node:net';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const root = path.resolve(path.dirname(fileURLToPath(import.meta.url)), '..');
export const threads = Math.max(2, Math.min(availableParallelism?.() ?? cpus().length, 8));
export const build = path.join(root, process.env.VARNEL_BUILD ?? 'build/bench');

const running = [];
const folders = [];

function endAll() {
  for (const child of running.splice(0)) {
    try { process.kill(child.pid, 'SIGTERM'); } catch { /* it has ended */ }
  }
  for (const folder of folders.splice(0)) rmSync(folder, { recursive: true, force: true });
}
process.on('exit', endAll);
for (const signal of ['SIGINT', 'SIGTERM']) process.on(signal, () => process.exit(1));

export const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// A folder that goes with this process.
export function temporaryFolder() {
  const folder = mkdtempSync(path.join(tmpdir(), 'varnel-bench-'));
  folders.push(folder);
  return folder;
}

export async function freePort() {
  const server = net.createServer().listen(0, '127.0.0.1');
  await new Promise((resolve) => server.once('listening', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

// Starts a program and waits until it answers on `port`.
export async function start(command, args, port, options = {}) {
  const child = spawn(command, args, { stdio: ['ignore', 'ignore', 'inherit'], ...options });
  running.push(child);
  for (let attempt = 0; attempt < 200; ++attempt) {
    if (child.exitCode !== null) throw new Error(`${command} has ended with ${child.exitCode}`);
    const open = await new Promise((resolve) => {
      const socket = net.connect(port, '127.0.0.1', () => { socket.destroy(); resolve(true); });
      socket.on('error', () => resolve(false));
    });
    if (open) return child;
    await sleep(100);
  }
  throw new Error(`${command} doesn't answer`);
}

// The list site in a folder of its own, set up to be measured: no line of log for each request.
// With `links`, the lists' links are of that kind instead of the default one.
export function listSite(port, links) {
  const site = temporaryFolder();
  cpSync(path.join(root, 'bench/list-site'), site, { recursive: true });
  const data = path.join(root, 'build/bench-items.db');
  const made = spawnSync(path.join(root, 'bench/make-list-data'), [data], { stdio: 'inherit' });
  if (made.status !== 0) throw new Error('the data could not be made');
  cpSync(data, path.join(site, 'items.db'));
  const file = path.join(site, 'site.toml');
  writeFileSync(file, readFileSync(file, 'utf8')
    .replace(/listen = .*/, `listen = "127.0.0.1:${port}"\nthreads = ${threads}`)
    .replace('[log]', '[log]\nlevel = "warning"') + (links ? `\n[lists]\nlinks = "${links}"\n` : ''));
  return site;
}

export async function startVarnel(site, port) {
  const child = await start(path.join(build, 'varnel'), ['serve', site], port, { stdio: 'ignore' });
  await sleep(500);
  return child;
}

// The list page's second page, as the first one links to it: its state carries the total. The same of another page.
export async function nextPageUrl(port, page = 'list.asp') {
  const first = await (await fetch(`http://127.0.0.1:${port}/bench/${page}`)).text();
  const link = /href="([^"]*)">Next/.exec(first);
  if (!link) throw new Error('the list has no next page');
  return `http://127.0.0.1:${port}${link[1].replaceAll('&amp;', '&')}`;
}

// Requests a second, p99 in milliseconds, and answers that were no success.
export function load(url, seconds, connections = 32) {
  return new Promise((resolve, reject) => {
    const wrk = spawn('wrk', ['-t1', `-c${connections}`, `-d${seconds}`, '--latency', url]);
    let text = '';
    wrk.stdout.on('data', (data) => { text += data; });
    wrk.on('error', reject);
    wrk.on('close', () => {
      const rate = /Requests\/sec:\s+([\d.]+)/.exec(text);
      const slow = /99%\s+([\d.]+)(us|ms|s)/.exec(text);
      if (!rate || !slow) return reject(new Error(`wrk: ${text}`));
      const failed = /Non-2xx or 3xx responses: (\d+)/.exec(text);
      const errors = /Socket errors: (.*)/.exec(text);
      const unit = { us: 1e-3, ms: 1, s: 1e3 }[slow[2]];
      resolve({ rate: Number(rate[1]), p99: Number(slow[1]) * unit, failed: failed ? Number(failed[1]) : 0, errors: errors?.[1] });
    });
  });
}

// Warms each server up, then asks them in turn, `rounds` times; for each the round of its best rate. What else the
// machine does meets all of them.
export async function interleaved(servers, rounds, seconds) {
  const results = servers.map(({ name }) => ({ name, rates: [], p99s: [], failed: 0, requests: 0, seconds: 0 }));
  for (const { url } of servers) await load(url, 2);
  for (let round = 0; round < rounds; ++round) {
    for (let i = 0; i < servers.length; ++i) {
      const before = work(servers[i].pids);
      const { rate, p99, failed, errors } = await load(servers[i].url, seconds);
      results[i].seconds += work(servers[i].pids) - before;
      results[i].requests += rate * seconds;
      results[i].rates.push(rate);
      results[i].p99s.push(p99);
      results[i].failed += failed + (errors ? 1 : 0);
    }
  }
  for (const result of results) {
    result.rate = Math.max(...result.rates);
    result.p99 = Math.min(...result.p99s);
    result.cpu = result.seconds / result.requests * 1e6;
  }
  return results;
}

// A process and those that it has started, from what /proc says of each.
function family(pid) {
  const children = new Map();
  for (const name of readdirSync('/proc')) {
    if (!/^\d+$/.test(name)) continue;
    try {
      const parent = Number(/PPid:\s+(\d+)/.exec(readFileSync(`/proc/${name}/status`, 'utf8'))[1]);
      children.set(parent, [...(children.get(parent) ?? []), Number(name)]);
    } catch { /* it has just ended */ }
  }
  const withChildren = (id) => [id, ...(children.get(id) ?? []).flatMap(withChildren)];
  return withChildren(pid);
}

// The processes that one has started.
export const children = (pid) => family(pid).slice(1);

// Seconds that the processes have worked. Unlike the rate, what else the machine does hardly touches this.
export function work(pids) {
  const stats = pids.flatMap(family).map((id) => readFileSync(`/proc/${id}/stat`, 'utf8').replace(/.*\) /, '').split(' '));
  return stats.reduce((sum, fields) => sum + (Number(fields[11]) + Number(fields[12])) / 100, 0);
}

// Memory in MB of a process and those that it has started. What they share, such as the libraries' code, counts once.
export function memory(pid) {
  const kb = (id) => Number(/^Pss:\s+(\d+)/m.exec(readFileSync(`/proc/${id}/smaps_rollup`, 'utf8'))?.[1] ?? 0);
  return family(pid).reduce((sum, id) => sum + kb(id), 0) / 1024;
}

// `count` keep-alive connections that have been answered once and then stay silent.
export async function idleConnections(url, count) {
  const { hostname, port, pathname, search } = new URL(url);
  const request = `GET ${pathname}${search} HTTP/1.1\r\nHost: localhost\r\n\r\n`;
  const sockets = [];
  for (let made = 0; made < count; made += 50) {
    await Promise.all(Array.from({ length: Math.min(50, count - made) }, () => new Promise((resolve, reject) => {
      const socket = net.connect(Number(port), hostname, () => socket.write(request));
      socket.once('data', (data) => {
        if (!data.toString('latin1').startsWith('HTTP/1.1 200')) return reject(new Error('an idle connection was refused'));
        sockets.push(socket);
        resolve();
      });
      socket.on('error', reject);
      socket.resume();
    })));
  }
  return sockets;
}

// Rates without and with the idle connections in turn; the better ones are compared.
export async function idleEffect(url, count, rounds, seconds) {
  const rates = { without: [], with: [] };
  for (let round = 0; round < rounds; ++round) {
    rates.without.push((await load(url, seconds)).rate);
    const idle = await idleConnections(url, count);
    rates.with.push((await load(url, seconds)).rate);
    if (idle.some((socket) => socket.closed || socket.readableEnded)) throw new Error('an idle connection was closed');
    for (const socket of idle) socket.destroy();
    await sleep(500);
  }
  return Math.max(...rates.with) / Math.max(...rates.without);
}

export const table = (rows) => {
  const widths = rows[0].map((_, i) => Math.max(...rows.map((row) => String(row[i]).length)));
  return rows.map((row) => row.map((cell, i) => i === 0 ? String(cell).padEnd(widths[i]) : String(cell).padStart(widths[i])).join('  ')).join('\n');
};

export const machine = () => `${cpus()[0].model}, ${cpus().length} processors, Linux; one run, servers in turn`;
