// Whether anybody can hold others up, on two script threads: p99 of a list page alone, beside ten readers that stand
// almost still, and beside these, pages with slips and a runaway one every ten seconds. A line of verdict for each.
// bench/holdup.mjs [--seconds SECONDS]: so long beside the readers, and as long beside all; alone no more than a minute.
import http from 'node:http';
import net from 'node:net';
import path from 'node:path';
import { readFileSync, writeFileSync } from 'node:fs';
import { parseArgs } from 'node:util';
import { children, freePort, listSite, machine, nextPageUrl, sleep, startVarnel } from './servers.mjs';

const { values } = parseArgs({ options: { seconds: { type: 'string', default: '30' } } });
const seconds = Number(values.seconds);
const kLongestAlone = 60;
const kClients = 8;
const kSlowReaders = 10;
const kLongestPage = 2000;      // milliseconds, beside slow readers
const kRunawayEvery = 10_000;
const kRunawayLasts = 7_000;    // until the worker that it has hung is gone

const made = '<% var page = Server.CreateObject("Varnel.Page"); page.OpenDatabaseConnection("Items");' +
  ' var rs = page.DRecordset(); rs.OpenRS("SELECT id, name FROM item", "id"); var t = page.Table(), g = page.DGrid(rs, "G", false, t); %>';
const slips = [
  '<% t.Cell(t); %>',
  '<% rs(0).Value = rs; %>',
  '<% g.Cell(t); t.Cell(g); %>',
  '<% var a = rs(0), b = rs(1); a.Value = b; b.Value = a; CStr(a); %>',
  '<% var inner = t; for (var i = 0; i < 400; i++) { var outer = page.Table(); outer.Cell(inner); inner = outer; } page.Add(inner); %>',
  '<% function f() { return f; } rs(0).Value = f; CStr(rs(0)); %>'
];
const pages = {
  'slow.asp': '<% for (var i = 0; i < 30; i++) { Response.Write("x".repeat(1e6)); Response.Flush(); } %>',
  'count.asp': '<% var n = (Session("n") || 0) + 1; Session.Contents["n"] = n; %><%= n %>',
  'runaway.asp': "<% '\\u1e9b\\u0323'.repeat(3e7).normalize('NFKC'); %>",
  ...Object.fromEntries(slips.map((slip, i) => [`slip${i}.asp`, made + slip]))
};

let failures = 0;
function verdict(held, text) {
  console.log(`${held ? 'held    ' : 'NOT HELD'}  ${text}`);
  if (!held) ++failures;
}

const port = await freePort();
const site = listSite(port);
const file = path.join(site, 'site.toml');
writeFileSync(file, readFileSync(file, 'utf8').replace(/threads = .*/, 'threads = 2\nscript_timeout = "2s"\nstuck_timeout = "2s"\ndrain_timeout = "2s"'));
for (const [name, text] of Object.entries(pages)) writeFileSync(path.join(site, 'pages', name), text);
const varnel = await startVarnel(site, port);
const list = new URL(await nextPageUrl(port)).pathname + new URL(await nextPageUrl(port)).search;
const agent = new http.Agent({ keepAlive: true });

// Gives the status, or the error's code, and the time.
function ask(target, headers = {}) {
  const begun = performance.now();
  return new Promise((resolve) => {
    const end = (status, response, body) => resolve({ status, time: performance.now() - begun, begun, headers: response?.headers, body });
    const request = http.get({ port, host: '127.0.0.1', path: target, agent, headers }, (response) => {
      let body = '';
      response.setEncoding('latin1').on('data', (data) => { body += data; }).on('end', () => end(response.statusCode, response, body))
        .on('error', (error) => end(error.code));
    });
    request.on('error', (error) => end(error.code));
  });
}

// Asks for pages until `until`, one after the other.
async function client(until, results, withSlips) {
  for (let count = 0; performance.now() < until; ++count) {
    if (withSlips && Math.random() < 0.01) await ask(`/bench/slip${count % slips.length}.asp`);
    else {
      const { status, time, begun } = await ask(list);
      results.push({ status, time, begun });
    }
    await sleep(2);
  }
}

// Takes some 200 KB a second of a page of 30 MB, and then another one.
async function slowReader(until) {
  while (performance.now() < until) {
    await new Promise((resolve) => {
      const socket = net.connect({ port, host: '127.0.0.1' }, () => socket.write('GET /bench/slow.asp HTTP/1.1\r\nHost: localhost\r\n\r\n'));
      const end = setTimeout(() => socket.destroy(), Math.max(0, until - performance.now()));
      socket.on('data', () => {
        socket.pause();
        setTimeout(() => socket.resume(), 300);
      });
      socket.on('error', () => {});
      socket.on('close', () => { clearTimeout(end); resolve(); });
    });
  }
}

async function visitor(until) {
  let cookie = {};
  let count = 0;
  let lost = 0;
  while (performance.now() < until) {
    const answer = await ask('/bench/count.asp', cookie);
    const set = answer.headers?.['set-cookie'];
    if (set) cookie = { Cookie: set[0].split(';')[0] };
    ++count;
    if (Number(answer.body) !== count) { ++lost; count = Number(answer.body) || 0; }
    await sleep(200);
  }
  return lost;
}

async function runaways(until, begins) {
  while (performance.now() < until) {
    begins.push(performance.now());
    ask('/bench/runaway.asp');
    await sleep(kRunawayEvery);
  }
}

const p99 = (results) => results.map(({ time }) => time).sort((a, b) => a - b)[Math.floor(results.length * 0.99)] ?? 0;

async function part(name, lasts, { slow = false, slip = false, runaway = false } = {}) {
  const until = performance.now() + lasts * 1000;
  const results = [];
  const begins = [];
  const workers = children(varnel.pid).join();
  const work = Array.from({ length: kClients }, () => client(until, results, slip));
  if (slow) work.push(...Array.from({ length: kSlowReaders }, () => slowReader(until)));
  if (runaway) work.push(runaways(until, begins));
  const lost = await visitor(until);
  await Promise.all(work);
  const isQuiet = ({ begun, time }) => !begins.some((begin) => begun + time > begin && begun < begin + kRunawayLasts);
  const quiet = results.filter(isQuiet);
  const failed = quiet.filter(({ status }) => status !== 200);
  const longest = quiet.reduce((most, { time }) => Math.max(most, time), 0);
  const states = [...new Set(results.filter(({ status }) => status !== 200).map(({ status }) => status))].join(' ');
  console.log(`          ${name}: ${results.length} pages, ${quiet.length} outside of runaways; p99 ${p99(quiet).toFixed(1)} ms, longest ${longest.toFixed(0)} ms;` +
    ` failed outside ${failed.length}, in all ${results.filter(({ status }) => status !== 200).length} ${states}`);
  return { count: quiet.length, p99: p99(quiet), longest, failed: failed.length, lost, replaced: workers !== children(varnel.pid).join() };
}

console.log(machine());
await part('warming up', Math.min(seconds, 10));
const alone = await part('alone', Math.min(seconds, kLongestAlone));
const slow = await part('beside slow readers', seconds, { slow: true });
verdict(slow.longest <= kLongestPage && slow.failed === 0, `the longest page beside ${kSlowReaders} slow readers took ${slow.longest.toFixed(0)} ms, ${slow.failed} failed`);
verdict(!slow.replaced && slow.lost === 0, 'no worker was replaced, and the session was there');
const all = await part('beside all', seconds, { slow: true, slip: true, runaway: true });
verdict(all.count > 0 && all.failed === 0, `${all.failed} of ${all.count} pages failed outside of the runaways' seconds`);
verdict(all.count > 0 && all.p99 <= 3 * alone.p99, `p99 ${all.p99.toFixed(1)} ms, ${alone.p99.toFixed(1)} ms alone (at most three times)`);
process.exit(failures === 0 ? 0 : 1);
