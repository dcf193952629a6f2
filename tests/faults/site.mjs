// A site on the databases that are broken, served by a program of its own.
import { cpSync, existsSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import { build, end, freePort, listens, repository, start, temporaryFolder, until } from "./processes.mjs";

export const kRows = 3000;
export const kPageSize = 20; // as list.asp has it

// How long an answer may take: a statement's time and an opening's, and what a busy machine adds.
export const kPatience = 60_000;

// In the words of a server that knows numbers from 1 to kRows as "n": a tenth of the names are NULL, all others stand a few times.
export const nameOf = (n) => `CASE WHEN ${n} % 10 = 0 THEN NULL ELSE CONCAT('name ', LPAD(CAST(${n} * 7919 % 601 AS CHAR(3)), 3, '0')) END`;

// The keys in the list's order.
export function expectedRows() {
  const rows = Array.from({ length: kRows }, (_, i) => ({ id: i + 1, name: (i + 1) % 10 === 0 ? "" : String(((i + 1) * 7919) % 601).padStart(3, "0") }));
  rows.sort((a, b) => (a.name < b.name ? -1 : a.name > b.name ? 1 : a.id - b.id));
  return rows.map(({ id }) => id);
}

export async function ask(address, patience = kPatience) {
  const began = Date.now();
  const answer = await fetch(address, { signal: AbortSignal.timeout(patience) });
  return { status: answer.status, body: await answer.text(), ms: Date.now() - began };
}

export class Site {
  // `connections`: the strings by their names. `more`: text for site.toml.
  static async serve(connections, more = "") {
    const folder = join(temporaryFolder(), "site");
    cpSync(join(repository, "tests/faults/site"), folder, { recursive: true });
    const file = join(folder, "site.toml");
    const lines = Object.entries(connections).map(([name, text]) => `${name}_ConnectionString = ${JSON.stringify(text)}\n`);
    writeFileSync(file, `${readFileSync(file, "utf8")}\n[application]\n${lines.join("")}${more}`);
    const site = new Site();
    site.folder = folder;
    site.port = await freePort();
    const words = join(folder, "words");
    site.process = start(join(build, "varnel"), ["serve", folder, "--listen", `127.0.0.1:${site.port}`], words, { isServer: false });
    await until(`varnel serve: ${existsSync(words) ? readFileSync(words, "utf8") : ""}`, () => listens(site.port));
    return site;
  }

  address(target) { return target.startsWith("/") ? `http://127.0.0.1:${this.port}${target}` : `http://127.0.0.1:${this.port}/faults/${target}`; }
  get(target, patience) { return ask(this.address(target), patience); }

  // A statement's first value.
  async value(connection, sql) {
    const answer = await this.sql(connection, sql);
    if (answer.status !== 200) throw new Error(`${sql}: ${answer.status} ${answer.text}`);
    return answer.body.trim();
  }

  // The answer, with the log's text of its error.
  async sql(connection, sql) {
    const answer = await this.get(`ask.asp?connection=${connection}&sql=${encodeURIComponent(sql)}`);
    return { ...answer, text: await this.errorOf(answer) };
  }

  // What the log says of an answer that failed.
  async errorOf({ status, body }) {
    if (status === 200) return "";
    const id = /Request ([0-9a-f]{16})/.exec(body)?.[1];
    if (!id) return body.trim();
    return until(`an entry of the log for request ${id}`, () => {
      const line = this.log().split("\n").find((each) => each.includes(` error [${id}] `));
      return line ? line.slice(line.indexOf(id) + id.length + 2) : false;
    }, 20);
  }

  log() { return readFileSync(join(this.folder, "site.log"), "utf8"); }
  end() { return end(this.process, "SIGTERM"); }
}
