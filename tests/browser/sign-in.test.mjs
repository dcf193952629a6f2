// Signing in and out, what only an editor may, and how much of it: pages as they look, and posts as an enemy sends them.
import assert from "node:assert/strict";
import { File } from "node:buffer";  // global from Node.js 20 on
import { execFileSync } from "node:child_process";
import { existsSync, readFileSync, readdirSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { editSettings, openShop, passwords, repository, signIn } from "./shop.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const picture = readFileSync(join(repository, "site/pages/images/BtnNavBarNavyNext.gif"));

let shop;
let browser;
let page;

before(async () => {
  shop = await openShop({
    prepare(site) {
      editSettings(site, (text) => text
        .replace(/^Quota_Images = .*/m, "Quota_Images = 2")
        .replace(/^Quota_Prices = .*/m, "Quota_Prices = 3")
        .replace(/^Quota_Favorites = .*/m, "Quota_Favorites = 45")
        .replace(/^max_bytes = .*/m, "max_bytes = 5000"));
    },
  });
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

const text = (selector) => page.locator(selector).allInnerTexts();
const open = (address) => page.goto(shop.url + address);
const sessionOf = async (each = page) => (await each.context().cookies()).find((cookie) => cookie.name === "varnel_session")?.value;
const images = () => readdirSync(join(shop.site, "pages/images/products"), { recursive: true }).length;
const prices = () => shop.query("SELECT COUNT(*) AS N, SUM(PRICE) AS S FROM CATALOGPRODUCTPRICE");

// A visitor without a browser: keeps his cookie, and takes the token from the page that he asks for first.
async function visitor(cookie = "") {
  const self = {
    cookie,
    async ask(address, options = {}) {
      const answer = await fetch(shop.url + address, { redirect: "manual", ...options, headers: { cookie: self.cookie, ...options.headers } });
      const set = answer.headers.get("set-cookie");
      if (set?.startsWith("varnel_session=")) self.cookie = set.split(";")[0];
      return answer;
    },
    async token(address = "sign-in.asp") {
      return /name="token" value="([0-9a-f]+)"/.exec(await (await self.ask(address)).text())?.[1];
    },
    async post(address, fields, multipart = false) {
      const body = multipart ? new FormData() : new URLSearchParams();
      for (const [name, value] of Object.entries(fields)) value instanceof File ? body.set(name, value, value.name) : body.set(name, value);
      return self.ask(address, { method: "POST", body });
    },
    async signIn(name, password) {
      return self.post("sign-in.asp", { token: await self.token(), name, password, back: "/shop/settings.asp" });
    },
  };
  return self;
}

async function expectAccessible(where) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run());
  const grave = violations.filter((each) => ["serious", "critical"].includes(each.impact));
  assert.deepEqual(grave.map((each) => `${each.id}: ${each.nodes[0].html}`), [], where);
  const overflow = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
  assert.equal(overflow, 0, `${where} scrolls sideways`);
}

async function inBothWidths(name) {
  for (const width of [1440, 375]) {
    await page.setViewportSize({ width, height: 900 });
    await expectAccessible(`${name} at ${width}`);
    await screenshot(page, `${name}-${width}`);
  }
  await page.setViewportSize({ width: 1440, height: 900 });
}

test("a guest who wants to import is led to the sign-in and from there back", async () => {
  const refused = await visitor();
  const answer = await refused.ask("import.asp");
  assert.equal(answer.status, 403);
  assert.match(await answer.text(), /sign-in\.asp\?back=%2Fshop%2Fimport%2Easp/);
  await open("sign-in.asp?back=%2Fshop%2Fimport.asp");
  await inBothWidths("sign-in");
  const before = await sessionOf();
  await page.fill("#name", "clerk");
  await page.fill("#password", passwords.clerk);
  await click(page, ".signin button");
  assert.equal(page.url(), `${shop.url}import.asp`);
  assert.deepEqual(await text("h1"), ["Import prices"]);
  assert.match((await text("header"))[0], /clerk/);
  assert.notEqual(await sessionOf(), before);
  await inBothWidths("signed-in");
});

test("signing out ends the session", async () => {
  const old = await visitor(`varnel_session=${await sessionOf()}`);
  assert.equal((await old.ask("import.asp")).status, 200);
  await click(page, '.signout button:text-is("Sign out")');
  assert.equal(page.url(), `${shop.url}index.asp`);
  assert.match((await text("header"))[0], /demo/);
  assert.equal(await page.locator('header a:text-is("Sign in")').count(), 1);
  assert.equal((await old.ask("import.asp")).status, 403);
});

test("the sign-in is reached from the head of a page and leads back to it", async () => {
  await open("quick-order.asp?search=8086*");
  const here = page.url();
  await click(page, 'header a:text-is("Sign in")');
  await page.fill("#name", "anna");
  await page.fill("#password", passwords.anna);
  await click(page, ".signin button");
  assert.equal(page.url(), here);
  assert.equal(await page.getAttribute("html", "lang"), "de");
  await click(page, ".signout button");
});

test("a wrong password, an unknown user and a user without a password are told apart by nothing", async () => {
  for (const [name, password] of [["clerk", "wrong password"], ["nobody", "wrong password"], ["demo", "demo"], ["demo", "*"]]) {
    await open("sign-in.asp");
    await page.fill("#name", name);
    await page.fill("#password", password);
    await click(page, ".signin button");
    assert.deepEqual(await text(".note"), ["This user and this password don't belong together."], name);
    assert.equal(await page.inputValue("#name"), name);
    assert.equal(await page.inputValue("#password"), "");
  }
  await inBothWidths("sign-in-wrong");
  assert.match((await text("header"))[0], /demo/);
});

test("a session that somebody has planted stays a guest's", async () => {
  const enemy = await visitor();
  await enemy.token();
  const victim = await visitor(enemy.cookie);
  assert.equal((await victim.signIn("clerk", passwords.clerk)).status, 302);
  assert.notEqual(victim.cookie, enemy.cookie);
  assert.equal((await victim.ask("import.asp")).status, 200);
  assert.equal((await enemy.ask("import.asp")).status, 403);
  assert.notEqual(await victim.token("import.asp"), await enemy.token());
});

test("a sign-in or sign-out that another site posts changes nothing", async () => {
  const guest = await visitor();
  await guest.token();
  for (const token of ["", "0".repeat(32)])
    assert.equal((await guest.post("sign-in.asp", { token, name: "clerk", password: passwords.clerk })).status, 403);
  const clerk = await visitor();
  await clerk.signIn("clerk", passwords.clerk);
  assert.equal((await clerk.post("sign-out.asp", {})).status, 403);
  assert.equal((await clerk.ask("sign-out.asp")).status, 405);
  assert.equal((await clerk.ask("import.asp")).status, 200);
});

test("after the sign-in nobody is led to another site", async () => {
  for (const back of ["https://evil.example/", "//evil.example/", "/shop/../x", "javascript:alert(1)", "/shop/x.asp\r\nX: y"]) {
    const one = await visitor();
    const answer = await one.post("sign-in.asp", { token: await one.token(), name: "clerk", password: passwords.clerk, back });
    assert.equal(answer.headers.get("location"), "/shop/index.asp", back);
  }
});

test("only an editor imports and sends images, whatever the form says", async () => {
  const all = prices();
  const list = new File(["PCI 8086:1533;;2031-01-01;1\n"], "l.csv", { type: "text/csv" });
  const image = new File([picture], "front.gif", { type: "image/gif" });
  const guest = await visitor();
  const anna = await visitor();
  assert.equal((await anna.signIn("anna", passwords.anna)).status, 302);
  for (const one of [guest, anna]) {
    const token = await one.token();
    assert.equal((await one.post("import.asp", { token, do: "import", list }, true)).status, 403);
    assert.equal((await one.post("image-upload.asp", { token, product: "32", image }, true)).status, 403);
    // A name without a sign-in is none.
    await one.post("settings.asp", { token, user: "clerk", REMOTE_USER: "clerk", SignedIn: "true", language: "1033" });
    assert.equal((await one.ask("import.asp")).status, 403);
  }
  assert.match(await (await anna.ask("import.asp")).text(), /anna doesn&#39;t|anna doesn't/);
  assert.deepEqual(prices(), all);
  assert.ok(!existsSync(join(shop.site, "pages/images/products/32")));
});

test("what an editor may not looks like the shop", async () => {
  const guest = await browser.newPage(1440, 900);
  const before = browser.troubles.length;
  const own = page;
  page = guest;
  await open("import.asp");
  await inBothWidths("not-allowed");
  assert.deepEqual(await text("h1"), ["Not allowed"]);
  await click(page, 'main a:text-is("Sign in")');
  assert.deepEqual(await text("h1"), ["Sign in"]);
  page = own;
  await guest.close();
  // The refusals themselves are no troubles.
  const noted = browser.troubles.splice(before);
  assert.deepEqual(noted.filter((each) => !each.startsWith("403 ") || !each.endsWith("/import.asp")), []);
});

test("an editor imports so many prices a day, and all or nothing", async () => {
  await signIn(page, shop, "clerk");
  const numbers = shop.query("SELECT BUYFROMPARTNUMBER AS N FROM PRODUCT GROUP BY 1 HAVING COUNT(*) = 1 LIMIT 4").map((row) => row.N);
  const send = async (lines) => {
    await open("import.asp");
    await page.setInputFiles("#list", { name: "l.csv", mimeType: "text/csv", buffer: Buffer.from(lines.join("\n")) });
    await click(page, 'button[value="import"]');
    return text(".note");
  };
  const line = (number, day) => `${number};;2035-01-0${day};1`;
  assert.deepEqual(await send([line(numbers[0], 1), line(numbers[1], 1)]), ["2 prices were taken over."]);
  const all = prices();
  assert.deepEqual(await send([line(numbers[2], 2), line(numbers[3], 2)]), ["Nothing was taken over: a user may import 3 prices a day."]);
  await inBothWidths("import-quota");
  assert.deepEqual(prices(), all);
  assert.deepEqual(await send([line(numbers[2], 3)]), ["1 prices were taken over."]);
  assert.deepEqual(await send([line(numbers[3], 3)]), ["Nothing was taken over: a user may import 3 prices a day."]);
});

async function sendImage(product, name, bytes = picture) {
  await open(`image-upload.asp?product=${product}`);
  await page.setInputFiles("#image", { name, mimeType: "image/gif", buffer: bytes });
  await click(page, ".filter button");
  return text(".note");
}

test("a folder of images that is full takes no more", async () => {
  const before = images();
  assert.deepEqual(await sendImage(40, "large.gif", Buffer.concat([picture, Buffer.alloc(5000)])), ["The image wasn't kept: the folder for images is full."]);
  assert.deepEqual(readdirSync(join(shop.site, "pages/images/products")).includes("40") ? readdirSync(join(shop.site, "pages/images/products/40")) : [], []);
  assert.ok(images() - before <= 1);
  assert.equal(shop.query("SELECT COUNT(*) AS N FROM UPLOADEDIMAGE")[0].N, 0);
  assert.equal(shop.query("SELECT IMAGEFILENAME AS F FROM PRODUCT WHERE PRODUCTID = 40")[0].F, null);
});

test("a user sends so many images", async () => {
  assert.deepEqual(await sendImage(32, "one.gif"), ["The image was kept."]);
  assert.deepEqual(await sendImage(32, "one.gif"), ["The image was kept."]);
  assert.deepEqual(await sendImage(33, "two.gif"), ["The image was kept."]);
  assert.deepEqual(await sendImage(34, "three.gif"), ["The image wasn't kept: you have sent as many images as one user may."]);
  await inBothWidths("image-quota");
  assert.ok(!existsSync(join(shop.site, "pages/images/products/34")));
  assert.deepEqual(shop.query("SELECT PRODUCTID AS P, USERID AS U, BYTES AS B FROM UPLOADEDIMAGE ORDER BY 1"), [
    { P: 32, U: "clerk", B: picture.length },
    { P: 33, U: "clerk", B: picture.length },
  ]);
});

test("a user keeps so many favourites", async () => {
  const guest = await visitor();
  const token = await guest.token();
  const count = () => shop.query("SELECT COUNT(*) AS N FROM FAVORITES WHERE USERID = 'demo'")[0].N;
  const first = count();
  assert.ok(first > 0 && first < 45);
  for (let id = 1000; id < 1040; id++) await guest.post("favourite.asp", { token, add: String(id), back: "/shop/" });
  assert.equal(count(), 45);
});

test("without JavaScript a user signs in, in each language", async () => {
  const plain = await browser.newPage(375, 800, { javaScriptEnabled: false });
  const words = { 1033: "Sign in", 1031: "Anmelden", 2055: "Anmelden", 1036: "Se connecter", 1045: "Zaloguj się", 1081: "साइन इन करें" };
  for (const [language, word] of Object.entries(words)) {
    await plain.goto(`${shop.url}settings.asp`);
    await plain.check(`input[name="language"][value="${language}"]`);
    await click(plain, ".settings button");
    await click(plain, `header a:text-is("${word}")`);
    assert.deepEqual(await plain.locator("h1").allInnerTexts(), [word]);
    await screenshot(plain, `sign-in-${language}-375`);
  }
  await plain.fill("#name", "clerk");
  await plain.fill("#password", passwords.clerk);
  await plain.locator("#password").press("Enter");
  await plain.waitForURL(/index\.asp|settings\.asp|shop\/$/);
  assert.match(await plain.locator("header").innerText(), /clerk/);
  await plain.close();
});

test("no page had a script error or a missing file", () => {
  assert.deepEqual(browser.troubles, []);
});

// Last, since the address is held back for a minute behind it.
test("too many attempts are answered with 503, and a right password then too", async () => {
  const settings = { attempts: 3 };
  const other = await openShop({
    empty: true,
    prepare: (site) => editSettings(site, (all) => all.replace(/^attempts = .*/m, `attempts = ${settings.attempts}`)),
  });
  const own = shop;
  try {
    shop = other;
    for (let i = 0; i < 3; i++) assert.equal((await (await visitor()).signIn("clerk", "guess")).status, 200);
    const answer = await (await visitor()).signIn("clerk", passwords.clerk);
    assert.equal(answer.status, 503);
    const wait = Number(answer.headers.get("retry-after"));
    assert.ok(wait >= 1 && wait <= 60, `${wait}`);
    assert.match(await answer.text(), /There are too many attempts just now\. Try again in \d+ s\./);
  } finally {
    shop = own;
    await other.close();
  }
});
