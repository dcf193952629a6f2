// Servers of our own on loopback: each in a temporary folder and on a free port, as a plain user, and ended with this process,
// however that ends.
import { execFileSync, spawn } from "node:child_process";
import { chmodSync, chownSync, closeSync, mkdirSync, mkdtempSync, openSync, readFileSync, readdirSync, rmSync } from "node:fs";
import net from "node:net";
import { tmpdir } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

export const repository = resolve(dirname(fileURLToPath(import.meta.url)), "../..");
export const build = resolve(repository, process.env.VARNEL_BUILD ?? "build/dev");

const isRoot = process.getuid() === 0;
const kNobody = 65534; // user and group
const running = new Set();
const folders = [];

export const sleep = (ms) => new Promise((done) => setTimeout(done, ms));

// The first answer of `ask` that isn't false; fails with `what` after `seconds`.
export async function until(what, ask, seconds = 60) {
  const end = Date.now() + seconds * 1000;
  while (true) {
    const answer = await ask();
    if (answer !== false) return answer;
    if (Date.now() > end) throw new Error(`${what}: not within ${seconds} s`);
    await sleep(100);
  }
}

// Gone with this process. The servers may write there.
export function temporaryFolder() {
  const folder = mkdtempSync(join(tmpdir(), "varnel-faults-"));
  folders.push(folder);
  chmodSync(folder, 0o755);
  return folder;
}

export function serverFolder(parent, name) {
  const folder = join(parent, name);
  mkdirSync(folder, { mode: 0o700 });
  if (isRoot) chownSync(folder, kNobody, kNobody);
  return folder;
}

export function giveToServer(file) {
  chmodSync(file, 0o600);
  if (isRoot) chownSync(file, kNobody, kNobody);
}

const given = new Set();

export async function freePort() {
  while (true) {
    const server = net.createServer().listen(0, "127.0.0.1");
    await new Promise((done) => server.once("listening", done));
    const { port } = server.address();
    await new Promise((done) => server.close(done));
    if (given.has(port)) continue;
    given.add(port);
    return port;
  }
}

export const listens = (port) =>
  new Promise((done) => {
    const socket = net.connect(port, "127.0.0.1", () => { socket.destroy(); done(true); });
    socket.once("error", () => done(false));
  });

// A command's words as they are run: as a plain user, who also ends should this process be killed.
function asPlainUser(command, args) {
  const user = isRoot ? [`--reuid=${kNobody}`, `--regid=${kNobody}`, "--clear-groups"] : [];
  return ["setpriv", [...user, "--pdeathsig", "KILL", "--", command, ...args]];
}

// The output of a tool.
export function run(command, args, options = {}) {
  return execFileSync(command, args, { stdio: ["ignore", "pipe", "pipe"], maxBuffer: 1 << 28, ...options }).toString();
}

export const runAsPlainUser = (command, args, options) => run(...asPlainUser(command, args), options);

// A program in the background; its words go to the file `log`.
export function start(command, args, log, { isServer = true, env = {} } = {}) {
  const words = openSync(log, "a");
  const [program, all] = isServer ? asPlainUser(command, args) : ["setpriv", ["--pdeathsig", "KILL", "--", command, ...args]];
  const child = spawn(program, all, { stdio: ["ignore", words, words], env: { ...process.env, ...env }, cwd: dirname(log) });
  closeSync(words);
  child.ended = new Promise((done) => { child.once("exit", done); child.once("error", done); });
  child.ended.then(() => running.delete(child));
  running.add(child);
  return child;
}

// A process and those that it has started, from what /proc says of each.
export function family(pid) {
  const children = new Map();
  for (const name of readdirSync("/proc")) {
    if (!/^\d+$/.test(name)) continue;
    try {
      const parent = Number(/PPid:\s+(\d+)/.exec(readFileSync(`/proc/${name}/status`, "utf8"))[1]);
      children.set(parent, [...(children.get(parent) ?? []), Number(name)]);
    } catch { /* it has just ended */ }
  }
  const withChildren = (id) => [id, ...(children.get(id) ?? []).flatMap(withChildren)];
  return withChildren(pid);
}

export function signal(pids, name) {
  for (const pid of pids) {
    try { process.kill(pid, name); } catch { /* it has ended */ }
  }
}

// Ends it with all that it has started, and waits.
export async function end(child, name = "SIGKILL") {
  if (!running.has(child)) return;
  signal(name === "SIGKILL" ? family(child.pid) : [child.pid], name);
  await child.ended;
}

function endAll() {
  signal([...running].flatMap((child) => family(child.pid)), "SIGKILL");
  for (const folder of folders.splice(0)) rmSync(folder, { recursive: true, force: true, maxRetries: 20, retryDelay: 100 });
}
process.on("exit", endAll);
for (const name of ["SIGINT", "SIGTERM", "SIGHUP"]) process.on(name, () => process.exit(1));
