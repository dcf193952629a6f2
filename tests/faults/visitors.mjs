// Visitors who walk through the list by its links "Next", again and again. Who meets an error asks for the same page once more,
// as people do.
import { ask, expectedRows, kPageSize, kPatience } from "./site.mjs";
import { sleep, until } from "./processes.mjs";

const kBreath = 50; // milliseconds between an error and the next attempt

export class Visitors {
  constructor(site, count) {
    this.site = site;
    this.expected = expectedRows();
    this.pages = 0;
    this.walks = 0;
    this.failed = []; // answers
    this.wrong = [];
    this.slowest = 0;
    this.isEnding = false;
    this.visitors = Array.from({ length: count }, () => this.walkOn());
  }

  async walkOn() {
    while (!this.isEnding) await this.walk();
  }

  async walk() {
    let seen = 0;
    let target = "/faults/list.asp";
    while (seen < this.expected.length && !this.isEnding) {
      const page = await this.page(target);
      if (page === null) continue;
      const expected = this.expected.slice(seen, seen + kPageSize);
      if (JSON.stringify(page.rows) !== JSON.stringify(expected)) {
        this.wrong.push(`${target}: ${page.rows} in place of ${expected}`);
        return;
      }
      seen += page.rows.length;
      target = page.next;
    }
    if (seen === this.expected.length) this.walks += 1;
  }

  // Null where the answer is an error.
  async page(target) {
    const began = Date.now();
    try {
      const answer = await ask(this.site.address(target), kPatience);
      this.slowest = Math.max(this.slowest, answer.ms);
      if (answer.status === 200) {
        this.pages += 1;
        return JSON.parse(answer.body);
      }
      this.failed.push(answer);
    } catch (error) {
      this.slowest = Math.max(this.slowest, Date.now() - began);
      this.failed.push({ status: 0, body: `no answer: ${error.cause?.code ?? error.message}` });
    }
    await sleep(kBreath);
    return null;
  }

  // Waits for so many more pages, and walks to the end.
  async more(pages, walks = 0, seconds = 120) {
    const enough = { pages: this.pages + pages, walks: this.walks + walks };
    await until(`${pages} more pages`, () => (this.pages >= enough.pages && this.walks >= enough.walks) || this.wrong.length > 0, seconds);
  }

  // What was seen since the last call.
  async seen() {
    const failed = this.failed.splice(0);
    const texts = new Map();
    for (const answer of failed) {
      const text = await this.site.errorOf(answer);
      texts.set(text, (texts.get(text) ?? 0) + 1);
    }
    const seen = { pages: this.pages - (this.told ?? 0), failed: failed.length, slowest: this.slowest, texts };
    this.told = this.pages;
    this.slowest = 0;
    return seen;
  }

  async end() {
    this.isEnding = true;
    await Promise.all(this.visitors);
  }
}
