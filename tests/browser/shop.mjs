// A shop of our own for a test: a copy of the site with freshly loaded data, served on a free port.
import { execFile, execFileSync, spawn } from "node:child_process";
import { once } from "node:events";
import { copyFileSync, cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, renameSync, rmSync, statSync, writeFileSync } from "node:fs";
import { connect, createServer } from "node:net";
import { tmpdir } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import { promisify } from "node:util";

const run = promisify(execFile);
export const repository = resolve(dirname(fileURLToPath(import.meta.url)), "../..");
const programs = resolve(process.env.VARNEL_BUILD ?? join(repository, "build/dev"));

async function freePort() {
  const server = createServer().listen(0, "127.0.0.1");
  await once(server, "listening");
  const { port } = server.address();
  server.close();
  await once(server, "close");
  return port;
}

function answers(port) {
  return new Promise((done) => {
    const socket = connect(port, "127.0.0.1");
    socket.once("connect", () => { socket.destroy(); done(true); });
    socket.once("error", () => done(false));
  });
}

// Waits until the server takes connections; fails if it ends before.
async function untilServing(server, port, words) {
  for (let tries = 0; tries < 600; tries++) {
    if (server.exitCode !== null) throw new Error(`varnel serve ended with ${server.exitCode}: ${words()}`);
    if (await answers(port)) return;
    await new Promise((done) => setTimeout(done, 100));
  }
  throw new Error(`varnel serve doesn't answer on port ${port}: ${words()}`);
}

async function stop(server, folder) {
  server?.kill("SIGTERM");
  if (server && server.exitCode === null && server.signalCode === null) await once(server, "exit");
  rmSync(folder, { recursive: true, force: true });
}

// The full database is loaded once for all test files: again where the loader is newer. Files run side by side, so it is
// made under a name of our own first.
async function loadedDatabase() {
  const loader = join(programs, "varnel-shop-load");
  const folder = join(programs, "browser-tests");
  mkdirSync(folder, { recursive: true });
  const database = join(folder, "shop.db");
  if (existsSync(database) && statSync(loader).mtimeMs < statSync(database).mtimeMs) return database;
  const ours = `${database}.${process.pid}`;
  await run(loader, [ours]);
  renameSync(ours, database);
  return database;
}

// The shop comes without passwords. Ours has these, and takes more attempts, since all tests come from one address.
export const passwords = { clerk: "test of the clerk", anna: "test of anna" };

export function editSettings(site, change) {
  const file = join(site, "site.toml");
  writeFileSync(file, change(readFileSync(file, "utf8")));
}

function setPasswords(site) {
  for (const [name, password] of Object.entries(passwords)) {
    const line = execFileSync(join(programs, "varnel"), ["password"], { input: `${password}\n` }).toString();
    editSettings(site, (text) => text.replace(`[users.${name}]\n`, `[users.${name}]\n${line}`));
  }
  editSettings(site, (text) => `${text}\n[sign_in]\nattempts = 1000\n`);
}

export async function signIn(page, shop, name) {
  await page.goto(`${shop.url}sign-in.asp`);
  await page.fill("#name", name);
  await page.fill("#password", passwords[name]);
  await Promise.all([page.waitForNavigation(), page.click(".signin button")]);
}

// A connection string without its Database, where the tests run on a server (scripts/browser-tests-server): each shop has a
// copy of a loaded database there.
const serverText = process.env.VARNEL_SHOP_SERVER;
let shopsOpened = 0;

function postgresqlTool(name, ...args) {
  const port = /Port=(\d+)/.exec(serverText)[1];
  const place = ["-h", "127.0.0.1", "-p", port, "-U", "shop"];
  return execFileSync(join(process.env.VARNEL_SHOP_TOOLS, name), [...place, ...args], { maxBuffer: 1 << 26 }).toString();
}

function mariadb(database, sql, withNames = false) {
  const place = ["--no-defaults", "-u", "root", `--socket=${process.env.VARNEL_SHOP_SOCKET}`, "--default-character-set=utf8mb4"];
  const form = ["-B", "-r", ...(withNames ? [] : ["-N"])];
  return execFileSync("mariadb", [...place, ...form, "-e", sql, ...(database ? [database] : [])], { maxBuffer: 1 << 26 }).toString();
}

const postgresql = {
  copy: (from, to) => postgresqlTool("createdb", "-T", from, to),
  // Its names are in small letters there.
  query(name, sql) {
    const rows = JSON.parse(postgresqlTool("psql", "-d", name, "-At", "-c", `SELECT coalesce(json_agg(t), '[]') FROM (${sql}) t`));
    return rows.map((row) => Object.fromEntries(Object.entries(row).map(([key, value]) => [key.toUpperCase(), value])));
  },
};

const mariadbServer = {
  copy(from, to) {
    mariadb("", `CREATE DATABASE ${to} CHARACTER SET utf8mb4 COLLATE utf8mb4_nopad_bin`);
    const tables = mariadb(from, "SHOW TABLES").trim().split("\n");
    const made = tables.map((table) => `CREATE TABLE ${table} LIKE ${from}.${table}; INSERT INTO ${table} SELECT * FROM ${from}.${table}; ANALYZE TABLE ${table};`);
    mariadb(to, made.join("\n"));
  },
  // The names of the columns first, then each row as JSON. Without a LIMIT a FROM loses the order of its query.
  query(name, sql) {
    const text = / LIMIT \d+( OFFSET \d+)?$/.test(sql) ? sql : `${sql} LIMIT 1000000000`;
    const head = mariadb(name, text, true);
    if (head === "") return [];
    const pairs = head.slice(0, head.indexOf("\n")).split("\t").map((column) => `'${column}', \`${column}\``);
    const rows = mariadb(name, `SELECT JSON_OBJECT(${pairs.join(", ")}) FROM (${text}) t`);
    return rows.trim().split("\n").map((line) => JSON.parse(line));
  },
};

const databaseServer = serverText?.startsWith("Provider=PostgreSQL") ? postgresql : mariadbServer;

function prepareServer(site, empty, name) {
  databaseServer.copy(empty ? "shop_empty" : "shop_full", name);
  editSettings(site, (text) =>
    text.replace(/Provider=SQLite;Data Source=shop.db;Mode=(\w+)(;Tables=[A-Z,]+)?/g, `${serverText};Database=${name};Mode=$1`),
  );
}

// With `empty`, the shop has no products. `prepare` may change the site's folder before it is served.
export async function openShop({ empty = false, prepare = () => {} } = {}) {
  const folder = mkdtempSync(join(tmpdir(), "varnel-shop-"));
  const site = join(folder, "site");
  const database = join(site, "shop.db");
  const databaseName = `shop_${process.pid}_${(shopsOpened += 1)}`;
  let server;
  let words = "";
  try {
    cpSync(join(repository, "site"), site, { recursive: true, filter: (path) => !path.includes("shop.db") });
    if (serverText) {
      prepareServer(site, empty, databaseName);
    } else if (empty) {
      await run(join(programs, "varnel-shop-load"), [database, "--pci", "/dev/null", "--usb", "/dev/null"]);
    } else {
      copyFileSync(await loadedDatabase(), database);
    }

    setPasswords(site);
    prepare(site);
    const port = await freePort();
    server = spawn(join(programs, "varnel"), ["serve", site, "--listen", `127.0.0.1:${port}`]);
    server.stdout.on("data", (data) => (words += data));
    server.stderr.on("data", (data) => (words += data));
    server.once("exit", (code, signal) => (words += `varnel serve ended with ${code ?? signal}\n`));
    await Promise.race([
      untilServing(server, port, () => words),
      once(server, "error").then(([error]) => Promise.reject(error)),
    ]);

    return {
      url: `http://127.0.0.1:${port}/shop/`,
      site,
      // The rows of `sql` as objects, straight from the database.
      query(sql) {
        if (serverText) return databaseServer.query(databaseName, sql.replaceAll("date('now', 'localtime')", "CURRENT_DATE"));
        const text = execFileSync("sqlite3", ["-json", "-readonly", database, sql], { maxBuffer: 1 << 26 }).toString();
        return text.trim() === "" ? [] : JSON.parse(text);
      },
      // What the server has said so far.
      words: () => words,
      close: () => stop(server, folder),
    };
  } catch (error) {
    await stop(server?.pid ? server : undefined, folder);
    throw error;
  }
}
