// A visitor's way through the catalogue: category, favourites, clean-up, search, product sheet, prices, language. What the
// screen shows is compared with direct queries, and what a visitor changed is looked up in the database.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { openShop, signIn } from "./shop.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

let shop;
let browser;
let page;

before(async () => {
  shop = await openShop();
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

const text = (selector) => page.locator(selector).allInnerTexts();
const names = () => text(".catalogue a.name");
const open = (address) => page.goto(shop.url + address);
const button = (title) => page.locator(`.catalogue a:has(img[title="${title}"])`);

// The texts of one column of the list, counted from 1.
async function column(number) {
  const cells = await text(`.catalogue > table > tbody > tr:not(:has(table)) > td:nth-child(${number})`);
  return cells.slice(1).map((cell) => cell.trim());
}

async function step(title) {
  await Promise.all([page.waitForNavigation(), button(title).click()]);
}

// The names of a category's products in the order of `column`, straight from the database.
function categoryNames(node, order) {
  return shop
    .query(
      "SELECT PRODUCTDESCRIPTION AS NAME FROM PRODUCT P JOIN PRODUCTSBYCATEGORY B ON B.PRODUCTID = P.PRODUCTID " +
        `JOIN CATALOGNODE N ON N.CATEGORYID = B.CATEGORYID WHERE N.NODEID = ${node} ORDER BY ${order}`,
    )
    .map((row) => row.NAME);
}

// "1/31/2026" of "2026-01-31".
function englishDay(day) {
  const [year, month, date] = day.split("-").map(Number);
  return `${month}/${date}/${year}`;
}

function favourites(user) {
  return shop.query(`SELECT PRODUCTID FROM FAVORITES WHERE USERID = '${user}' ORDER BY PRODUCTID`).map((row) => row.PRODUCTID);
}

async function choose(language) {
  await open("settings.asp");
  await page.check(`input[name="language"][value="${language}"]`);
  await click(page, ".settings button");
}

test("from the home page to a category, sorted, paged to its end and back", async () => {
  await open("");
  await screenshot(page, "home-1440");
  await click(page, '.cards a:has-text("Wireless network adapters")');
  const node = Number(new URL(page.url()).searchParams.get("node"));
  const all = categoryNames(node, "SEQUENCE");
  assert.deepEqual(await names(), all.slice(0, 20));
  await screenshot(page, "category-1440");

  await click(page, '.catalogue a:text-is("Name")');
  await click(page, '.catalogue a:has-text("Name")');
  const reversed = categoryNames(node, "PRODUCTDESCRIPTION DESC");
  assert.deepEqual(await names(), reversed.slice(0, 20));
  const shown = [...(await names())];
  for (let number = 2; number <= 4; number++) {
    await step("Next page");
    shown.push(...(await names()));
  }
  assert.deepEqual(shown, reversed.slice(0, 80));
  const lastPage = Math.floor((reversed.length - 1) / 20) * 20;
  await step("Last page");
  assert.deepEqual(await names(), reversed.slice(lastPage));
  await step("Previous page");
  assert.deepEqual(await names(), reversed.slice(lastPage - 20, lastPage));
  await step("First page");
  await click(page, '.catalogue a:text-is("7")');
  assert.deepEqual(await names(), reversed.slice(120, 140));
});

test("a star keeps a product and lets it go again, and the list stays where it was", async () => {
  await open("category.asp?node=8");
  await step("Next page");
  const place = page.url();
  const before = favourites("demo");
  const star = () => page.locator(".catalogue button.star").nth(2);
  const id = Number(await star().getAttribute("value"));
  await Promise.all([page.waitForNavigation(), star().click()]);
  assert.equal(page.url(), place);
  assert.equal(await star().getAttribute("name"), "remove");
  assert.deepEqual(favourites("demo"), [...before, id].sort((a, b) => a - b));
  await Promise.all([page.waitForNavigation(), star().click()]);
  assert.deepEqual(favourites("demo"), before);
});

test("a product sheet tells properties, attachments, alternatives and the price of the day", async () => {
  const [found] = shop.query(
    "SELECT A.ORIGINALPRODUCT AS ID, COUNT(*) AS N FROM ALTERNATIVEPRODUCTS A JOIN ATTACHEDFILE F ON F.PRODUCTID = A.ORIGINALPRODUCT " +
      "GROUP BY 1 HAVING COUNT(DISTINCT F.ATTACHEDFILEID) = 2 AND COUNT(*) > 4 LIMIT 1",
  );
  await open(`product.asp?product=${found.ID}`);
  const alternatives = shop.query(
    `SELECT PRODUCTDESCRIPTION AS NAME FROM ALTERNATIVEPRODUCTS JOIN PRODUCT ON PRODUCTID = ALTERNATIVEPRODUCT WHERE ORIGINALPRODUCT = ${found.ID}`,
  );
  assert.deepEqual((await text('section[aria-labelledby="alternatives"] li a')).sort(), alternatives.map((row) => row.NAME).sort());
  assert.equal((await text('section[aria-labelledby="attachments"] li')).length, 2);
  const values = shop.query(`SELECT PROPERTYVALUE AS V FROM PRODUCTPROPVALUE WHERE PRODUCTID = ${found.ID}`).map((row) => row.V);
  assert.deepEqual((await text('section[aria-labelledby="properties"] td')).sort(), values.map(String).sort());
  const now = new Date();
  const today = [now.getFullYear(), now.getMonth() + 1, now.getDate()].map((part) => String(part).padStart(2, "0")).join("-");
  const [price] = shop.query(
    `SELECT PRICE FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = ${found.ID} AND GROUPBY = 'DEALER' AND PRICEEFFECTIVEDATE <= '${today} 23:59:59' ORDER BY PRICEEFFECTIVEDATE DESC LIMIT 1`,
  );
  assert.equal((await text("strong.price"))[1], `${price.PRICE.toFixed(2)}\u00a0€`);
  await screenshot(page, "product-1440");

  await click(page, 'a:text-is("Price list")');
  await click(page, `nav a:text-is("Dealers' price")`);
  const periods = shop.query(`SELECT date(PRICEEFFECTIVEDATE) AS D FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = ${found.ID} AND GROUPBY = 'DEALER' ORDER BY 1`);
  assert.deepEqual(await column(1), periods.slice(0, 5).map((row) => englishDay(row.D)));
});

test("a price list with a price each quarter pages and jumps", async () => {
  await open("prices.asp?product=32");
  assert.equal((await column(1))[0], "1/1/2024");
  await step("Next page");
  assert.equal((await column(1))[0], "4/1/2025");
  await click(page, '.catalogue a:text-is("3")');
  assert.deepEqual(await column(1), ["7/1/2026", "10/1/2026"]);
});

test("quick order finds part numbers by a star", async () => {
  await open("");
  await page.fill("#search", "8086*");
  await click(page, ".search button");
  const found = shop.query(
    "SELECT PARTNUMBER AS P FROM PRODUCT WHERE (PARTNUMBER LIKE '8086%' OR BUYFROMPARTNUMBER LIKE '8086%') AND PRODUCTID IN (SELECT PRODUCTID FROM PRODUCTSBYCATEGORY) ORDER BY PRODUCTDESCRIPTION",
  );
  assert.deepEqual(await column(1), found.slice(0, 20).map((row) => row.P));
  assert.match((await text(".catalogue"))[0], new RegExp(`Records 1-20 of ${found.length}`));
  await page.selectOption("#catalog", { label: "USB" });
  await click(page, ".filter button");
  assert.deepEqual([...new Set(await column(3))], ["USB"]);
  await screenshot(page, "quick-order-1440");
});

test("a quote, a per cent sign and a bracket in a search stand for themselves", async () => {
  for (const search of ["'", "%", "[", "x' OR '1'='1", "_"]) {
    await open(`quick-order.asp?search=${encodeURIComponent(search)}`);
    assert.match((await text(".catalogue"))[0], /No records/, search);
  }
});

test("a clean-up leaves three stale favourites and takes four", async () => {
  const stale = (user) =>
    shop.query(`SELECT COUNT(*) AS N FROM FAVORITES WHERE USERID = '${user}' AND PRODUCTID NOT IN (SELECT PRODUCTID FROM PRODUCTSBYCATEGORY)`)[0].N;
  await choose(1033);
  await signIn(page, shop, "anna");
  assert.equal(stale("anna"), 3);
  await open("favourites.asp");
  await click(page, ".cleanup button");
  assert.equal((await text(".note"))[0], "Nothing was removed.");
  assert.equal(stale("anna"), 3);

  await click(page, ".signout button");
  const before = favourites("demo");
  assert.equal(stale("demo"), 4);
  await open("favourites.asp");
  await click(page, ".cleanup button");
  assert.equal((await text(".note"))[0], "4 removed.");
  assert.equal(stale("demo"), 0);
  assert.equal(favourites("demo").length, before.length - 4);
  assert.equal(stale("anna"), 3, "another user's favourites are his own");
});

test("favourites by folder and kind", async () => {
  await open("favourites.asp");
  await page.selectOption("#folder", { label: "1" });
  await click(page, ".filter button");
  const inFolder = shop.query("SELECT PRODUCTDESCRIPTION AS N FROM PRODUCT JOIN FAVORITES USING (PRODUCTID) WHERE FAVORITES.USERID = 'demo' AND FOLDERID = 1 ORDER BY 1");
  assert.deepEqual(await names(), inFolder.map((row) => row.N));
  await page.selectOption("#folder", { label: "All" });
  await page.selectOption("#kind", { label: "Warehouse" });
  await click(page, ".filter button");
  assert.equal((await names()).length, 5);
});

test("the language goes with the visitor", async () => {
  await choose(1031);
  await open("favourites.asp");
  assert.equal(await page.getAttribute("html", "lang"), "de");
  assert.match((await text(".catalogue"))[0], /Datensätze 1-20 von/);
  assert.equal(await button("Nächste Seite").count(), 1);
  await screenshot(page, "favourites-german-1440");
  await choose(1033);
  assert.equal(await page.getAttribute("html", "lang"), "en");
});

test("a post without the session's token changes nothing", async () => {
  const before = favourites("demo");
  for (const [address, form] of [
    ["favourite.asp", { add: "8" }],
    ["clean-up.asp", { threshold: "0", token: "0".repeat(32) }],
    ["settings.asp", { language: "1031" }],
    ["sign-in.asp", { name: "anna", password: "x" }],
    ["sign-out.asp", {}],
  ]) {
    const answer = await page.request.post(shop.url + address, { form });
    assert.equal(answer.status(), 403, address);
  }
  const prices = () => shop.query("SELECT COUNT(*) AS N, SUM(PRICE) AS S FROM CATALOGPRODUCTPRICE");
  const all = prices();
  const cookie = (await page.context().cookies()).map((each) => `${each.name}=${each.value}`).join("; ");
  for (const [address, fields] of [
    ["import.asp", { do: "import", list: new Blob(["PCI 8086:1533;;2031-01-01;1\n"]) }],
    ["image-upload.asp", { product: "1", token: "0".repeat(32), image: new Blob(["GIF89a"]) }],
  ]) {
    const body = new FormData();
    for (const [name, value] of Object.entries(fields)) body.set(name, value);
    assert.equal((await fetch(shop.url + address, { method: "POST", headers: { cookie }, body })).status, 403, address);
  }
  assert.deepEqual(favourites("demo"), before);
  assert.deepEqual(prices(), all);
  assert.equal((await page.request.get(shop.url + "favourite.asp")).status(), 405);
});

test("what doesn't exist is told so", async () => {
  for (const address of ["category.asp?node=999999", "category.asp?node=x", "product.asp?product=0", "product.asp", "supplier.asp?supplier=99999999999", "prices.asp?product=-1", "properties.asp"]) {
    const answer = await page.request.get(shop.url + address);
    assert.equal(answer.status(), 404, address);
    assert.match(await answer.text(), /There is no such/);
  }
});

// What axe calls serious or critical on the page as it stands, and that nothing lies beside the screen.
async function expectAccessible(where) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run());
  const grave = violations.filter((each) => ["serious", "critical"].includes(each.impact));
  assert.deepEqual(grave.map((each) => `${each.id}: ${each.nodes[0].html}`), [], where);
  const overflow = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
  assert.equal(overflow, 0, `${where} scrolls sideways`);
}

test("accessible: axe finds nothing serious on pages with rows, in both widths", async () => {
  const supplier = shop.query("SELECT BUSINESSPARTNERID AS ID FROM PRODUCT GROUP BY 1 ORDER BY COUNT(*) DESC LIMIT 1")[0].ID;
  const maker = shop.query("SELECT MANUFACTURERID AS ID FROM PRODUCT GROUP BY 1 HAVING COUNT(*) > 100 ORDER BY COUNT(*) LIMIT 1")[0].ID;
  const withdrawn = shop.query("SELECT PRODUCTID AS ID FROM PRODUCT WHERE PRODUCTEXPIRYDATE IS NOT NULL LIMIT 1")[0].ID;
  const alternatives = shop.query("SELECT ORIGINALPRODUCT AS ID FROM ALTERNATIVEPRODUCTS GROUP BY 1 ORDER BY COUNT(*) DESC LIMIT 1")[0].ID;
  const pages = [
    "", "category.asp?node=12", "quick-order.asp?search=8086*", "quick-order.asp?search=nothing", `supplier.asp?supplier=${supplier}`,
    "favourites.asp", "product.asp?product=32", `product.asp?product=${withdrawn}`, `product.asp?product=${alternatives}`,
    "prices.asp?product=32", "properties.asp?product=32", "settings.asp", "list.asp", "products.asp",
    "products-form.asp", "two-lists.asp", "whole-list.asp", "import.asp", "image-upload.asp?product=32", `report.asp?manufacturer=${maker}`,
    "links.asp?catalog=2", "offer.asp?price=12.50&day=1/31/2026", "offer.asp?price=x&day=y",
  ];
  await signIn(page, shop, "clerk");
  for (const width of [1440, 375]) {
    await page.setViewportSize({ width, height: 900 });
    for (const address of pages) {
      await open(address);
      await expectAccessible(`${address} at ${width}`);
      if (width === 375 && address !== "") await screenshot(page, `${address.split(".")[0]}-375`);
    }
    await open("import.asp");
    const lines = "number;group;day;price\nPCI 8086:1533;;2031-01-01;12.50\nno such number;DEALER;2031-01-01;1\n";
    await page.setInputFiles("#list", { name: "prices.csv", mimeType: "text/csv", buffer: Buffer.from(lines) });
    await click(page, 'button[value="preview"]');
    assert.equal(await page.locator(".rows tr").count(), 3);
    await expectAccessible(`import.asp with lines at ${width}`);
  }
  await page.setViewportSize({ width: 1440, height: 900 });
  await click(page, ".signout button");
});

// Presses Tab until the focus is on what `selector` finds, and then `key`; waits for the page that comes.
async function reach(plain, selector, key = "Enter") {
  for (let presses = 0; presses < 120; presses++) {
    await plain.keyboard.press("Tab");
    if (await plain.locator(`${selector}:focus`).count() > 0) {
      await Promise.all([plain.waitForNavigation(), plain.keyboard.press(key)]);
      return;
    }
  }
  assert.fail(`${selector} can't be reached with the keyboard`);
}

test("without JavaScript and with the keyboard alone a visitor finds, sorts, pages, keeps and reads", async () => {
  const plain = await browser.newPage(1440, 900, { javaScriptEnabled: false });
  const shown = () => plain.locator(".catalogue a.name").allInnerTexts();
  await plain.goto(shop.url);
  await reach(plain, 'nav a:text-is("Quick order")');
  for (let presses = 0; presses < 20 && (await plain.locator("#search:focus").count()) === 0; presses++) await plain.keyboard.press("Tab");
  await plain.keyboard.type("8086*");
  await Promise.all([plain.waitForNavigation(), plain.keyboard.press("Enter")]);
  assert.equal((await shown()).length, 20);

  await plain.goto(shop.url + "category.asp?node=12");
  const all = categoryNames(12, "PARTNUMBER");
  await reach(plain, '.catalogue a:text-is("Part number")');
  assert.deepEqual(await shown(), all.slice(0, 20));
  await reach(plain, '.catalogue a:has(img[title="Next page"])');
  assert.deepEqual(await shown(), all.slice(20, 40));
  await reach(plain, '.catalogue a:text-is("5")');
  assert.deepEqual(await shown(), all.slice(80, 100));

  const before = favourites("demo");
  const id = Number(await plain.locator(".catalogue button.star").first().getAttribute("value"));
  await reach(plain, ".catalogue button.star", "Space");
  assert.deepEqual(favourites("demo"), [...before, id].sort((a, b) => a - b));
  await reach(plain, ".catalogue button.star", "Space");
  assert.deepEqual(favourites("demo"), before);

  await reach(plain, ".catalogue a.name");
  assert.equal(await plain.locator("h1").innerText(), all[80]);
  await plain.close();
});

test("no page had a script error or a missing file", () => {
  assert.deepEqual(browser.troubles, []);
});
