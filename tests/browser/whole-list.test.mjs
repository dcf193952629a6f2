// The list that page.List writes, as visitors with a screen, with a keyboard and without JavaScript see it: its rows are
// those of a direct query, and axe finds nothing at all, in any state, width and scheme.
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { openShop } from "./shop.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

// The same list with its own style sheet alone, which is dark where the visitor's scheme is, and all that a list can have.
const ownLook = `<%@ Language=JavaScript CodePage=65001 %><%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");
var list = page.List("Devices", "SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, CLASSIFICATION FROM PRODUCT", "PRODUCTID");
list.Column("PARTNUMBER", "Number").Link("product.asp", "PRODUCTID", "product");
list.Column("PRODUCTDESCRIPTION", "Name");
list.Column("CLASSIFICATION", "Class").Template(function (row, value) { return "<em>" + Server.HTMLEncode(value) + "</em>"; });
list.Column("PRODUCTID", "Id").Format("number", 0);
list.Search("PRODUCTDESCRIPTION");
list.Filter("CLASSIFICATION");
list.PageSizes(10, 25);
list.Action("Keep", "product.asp", "PRODUCTID", "product");
%><!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1"><title>Devices</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="styles/varnel-list.css"><link rel="stylesheet" href="styles/own-look.css"></head>
<body><main><h1>Devices</h1><% page.Add(list); %></main></body></html>
`;
const choosing = `<%@ Language=JavaScript CodePage=65001 %><%
var page = Server.CreateObject("Varnel.Page");
page.OpenDatabaseConnection("ProductsConnection");
var list = page.List("Devices", "SELECT PRODUCTID, PRODUCTDESCRIPTION FROM PRODUCT", "PRODUCTID");
list.Column("PRODUCTID", "Id");
list.Column("PRODUCTDESCRIPTION", "Name");
list.Selectable();
%><!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1"><title>Devices</title>
<link rel="icon" href="data:,"><link rel="stylesheet" href="styles/varnel-list.css"></head>
<body><main><h1>Devices</h1><p id="chosen"><%= list.Selected().join(" ") %></p><% page.Add(list); %></main></body></html>
`;
const ownStyle = "@media (prefers-color-scheme: dark) { body { background: #101418; color: #e6e9ec; } }\n";

let shop;
let browser;
let page;

before(async () => {
  shop = await openShop({
    prepare: (site) => {
      writeFileSync(join(site, "pages/own-look.asp"), ownLook);
      writeFileSync(join(site, "pages/styles/own-look.css"), ownStyle);
      writeFileSync(join(site, "pages/choose.asp"), choosing);
    },
  });
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

const all = "SELECT PRODUCTDESCRIPTION AS NAME FROM PRODUCT";

function names(sql) {
  return shop.query(sql).map((row) => row.NAME);
}

function count(number) {
  return number.toLocaleString("en-US");
}

function total(where = "") {
  return shop.query(`SELECT COUNT(*) AS N FROM PRODUCT ${where}`)[0].N;
}

async function shown(where = page) {
  return where.locator("tbody td:nth-child(2)").allInnerTexts();
}

async function counter(where = page) {
  return where.locator(".vl-count").innerText();
}

async function open(address, where = page) {
  await where.goto(shop.url + address);
}

async function expectAccessible(where, name) {
  await where.evaluate(axe);
  const { violations } = await where.evaluate(() => window.axe.run());
  assert.deepEqual(violations.map((each) => `${each.id}: ${each.nodes[0].html}`), [], name);
  const overflow = await where.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
  assert.equal(overflow, 0, `${name} scrolls sideways`);
}

test("pages, heads, search, filter and size show what a direct query gives", async () => {
  const rows = total();
  const order = "ORDER BY PRODUCTDESCRIPTION, PRODUCTID";
  await open("whole-list.asp");
  assert.equal(await counter(), `1 - 20 of ${count(rows)}`);
  assert.deepEqual(await shown(), names(`${all} ${order} LIMIT 20`));
  assert.equal(await page.locator('a[rel="prev"], a[rel="first"]').count(), 0);
  await click(page, 'a[rel="next"]');
  assert.deepEqual(await shown(), names(`${all} ${order} LIMIT 20 OFFSET 20`));
  await click(page, 'a[aria-label="Page 5"]');
  assert.deepEqual(await shown(), names(`${all} ${order} LIMIT 20 OFFSET 80`));
  assert.equal(await counter(), `81 - 100 of ${count(rows)}`);
  await click(page, 'a[rel="last"]');
  assert.deepEqual(await shown(), names(`${all} ${order} LIMIT 20 OFFSET ${Math.floor((rows - 1) / 20) * 20}`));
  assert.equal(await page.locator('a[rel="next"], a[rel="last"]').count(), 0);
  await page.goBack();
  assert.equal(await counter(), `81 - 100 of ${count(rows)}`);

  await click(page, 'th a:has-text("Category")');
  await click(page, 'th a:has-text("Part number")');
  await click(page, 'th a:has-text("Part number")');
  const both = "ORDER BY CLASSIFICATION, PARTNUMBER DESC, PRODUCTID";
  assert.deepEqual(await shown(), names(`${all} ${both} LIMIT 20`));
  assert.equal(await page.locator("th[aria-sort]").count(), 1);
  await click(page, 'a[rel="next"]');
  assert.deepEqual(await shown(), names(`${all} ${both} LIMIT 20 OFFSET 20`));

  await page.fill("#L1-q", "GIGABIT ethernet");
  await page.selectOption('[name="L1-f-CLASSCODE"]', "PCI");
  await page.selectOption('[name="L1-size"]', "50");
  await click(page, ".vl-form button");
  const where = "WHERE PRODUCTDESCRIPTION LIKE '%gigabit%' AND PRODUCTDESCRIPTION LIKE '%ethernet%' AND CLASSCODE = 'PCI'";
  assert.deepEqual(await shown(), names(`${all} ${where} ${both} LIMIT 50`));
  assert.equal(await counter(), `1 - 50 of ${count(total(where))}`);
  await click(page, 'a[rel="next"]');
  assert.deepEqual(await shown(), names(`${all} ${where} ${both} LIMIT 50 OFFSET 50`));
  await click(page, ".vl-reset");
  assert.equal(await counter(), `1 - 50 of ${count(rows)}`);
  assert.deepEqual(browser.troubles, []);
});

test("the home page finds products by name", async () => {
  await open("");
  await page.fill("#name", "thunderbolt");
  await click(page, 'form[action$="whole-list.asp"] button');
  const where = "WHERE PRODUCTDESCRIPTION LIKE '%thunderbolt%' OR PARTNUMBER LIKE '%thunderbolt%'";
  assert.deepEqual(await shown(), names(`${all} ${where} ORDER BY PRODUCTDESCRIPTION, PRODUCTID LIMIT 20`));
  await click(page, "tbody tr:first-child td a");
  assert.match(page.url(), /product\.asp\?product=\d+$/);
  assert.deepEqual(browser.troubles, []);
});

// The rows of a file that a link of the page leads to.
async function downloaded(where, selector) {
  const answer = await where.request.get(new URL(await where.locator(selector).getAttribute("href"), where.url()).href);
  assert.equal(answer.status(), 200);
  return (await answer.text()).trimEnd().split("\r\n").slice(1);
}

test("favourites are searched, filtered, downloaded and taken away", async () => {
  const mine = "FROM FAVORITES F INNER JOIN PRODUCT P ON P.PRODUCTID = F.PRODUCTID WHERE F.USERID = 'demo'";
  const find = (where) => names(`SELECT P.PRODUCTDESCRIPTION AS NAME ${mine} ${where} ORDER BY P.PRODUCTDESCRIPTION, P.PRODUCTID`);
  await open("favourites.asp");
  await click(page, 'a[href$="favourites-list.asp"]');
  assert.equal(await counter(), `1 - 20 of ${find("").length}`);
  await expectAccessible(page, "favourites-list.asp");
  await screenshot(page, "favourites-list-1440");
  await page.selectOption('[name="L1-f-WAREHOUSEFAVORITE"]', "1");
  await click(page, ".vl-form button");
  const warehouse = find("AND F.WAREHOUSEFAVORITE = 1");
  assert.deepEqual(await shown(), warehouse.slice(0, 20));
  assert.equal((await downloaded(page, 'a:text-is("CSV")')).length, warehouse.length);
  const word = warehouse[0].split(" ")[0];
  await page.fill("#L1-q", word);
  await click(page, ".vl-form button");
  assert.equal((await shown())[0], warehouse[0]);
  await click(page, "tbody tr:first-child .star");
  assert.deepEqual(find("AND F.WAREHOUSEFAVORITE = 1"), warehouse.slice(1));
  assert.equal(await page.inputValue("#L1-q"), word);
  assert.deepEqual(browser.troubles, []);
});

test("an order is chosen over searches and pages, and downloaded", async () => {
  await open("quick-order.asp");
  await click(page, 'a[href$="order.asp"]:not([aria-current])');
  assert.equal(await page.locator("#L2").count(), 0);
  for (const word of ["thunderbolt", "8086"]) {
    await page.fill("#L1-q", word);
    await click(page, ".vl-form button");
    await page.locator("#L1 tbody input").nth(1).check();
    await click(page, 'button:text-is("Next")');
    await page.locator("#L1 tbody input").nth(0).check();
    await click(page, 'button:text-is("Keep selection")');
  }
  const order = "#L2 td:nth-child(1)";
  const chosen = await page.locator(order).allInnerTexts();
  assert.equal(chosen.length, 4);
  await expectAccessible(page, "order.asp");
  await screenshot(page, "order-1440");
  const rows = await downloaded(page, '#L2 a:text-is("CSV")');
  assert.deepEqual(rows.map((row) => row.split(",")[0]), chosen);
  // No number: it is no product, and nothing of a query.
  await open("order.asp?L1-s=t1~20OR~201~3d1.");
  assert.equal(await page.locator("#L2").count(), 0);
  assert.deepEqual(browser.troubles, []);
});

test("what isn't offered is answered as a bad request, with a way back", async () => {
  for (const query of ["L1-sort=VERSION", "L1-f-DISABLED=1", "L1-f-CLASSCODE=ISA", "L1-size=51", "L1-at=n.0.21.5.811c9dc5.ta.t1."]) {
    const answer = await page.request.get(`${shop.url}whole-list.asp?${query}`);
    assert.equal(answer.status(), 400, query);
    assert.match(await answer.text(), /href="\/shop\/whole-list\.asp"/, query);
  }
});

const states = ["", "?L1-q=gigabit", "?L1-q=no+such+thing", "?L1-sort=PRODUCTDESCRIPTION,-PARTNUMBER", "?L1-size=100&L1-f-CLASSCODE=USB"];

test("axe finds nothing in any state, wide and narrow, light and dark", async () => {
  for (const colorScheme of ["light", "dark"]) {
    for (const width of [1440, 375]) {
      const visitor = await browser.newPage(width, 900, { colorScheme });
      const look = `${width}-${colorScheme}`;
      for (const state of states) {
        await open(`whole-list.asp${state}`, visitor);
        await expectAccessible(visitor, `whole-list.asp${state} at ${look}`);
      }
      for (const state of ["", "?L1-q=gigabit&L1-sort=PRODUCTDESCRIPTION,-PARTNUMBER", "?L1-q=no+such+thing"]) {
        await open(`own-look.asp${state}`, visitor);
        await expectAccessible(visitor, `own-look.asp${state} at ${look}`);
      }
      await open("own-look.asp?L1-sort=PRODUCTDESCRIPTION,-PARTNUMBER", visitor);
      await click(visitor, 'a[rel="next"]');
      await expectAccessible(visitor, `the second page at ${look}`);
      await screenshot(visitor, `list-own-${look}`);
      await open("whole-list.asp", visitor);
      await screenshot(visitor, `list-shop-${look}`);
      await visitor.close();
    }
  }
  assert.deepEqual(browser.troubles, []);
});

test("it is written in the visitor's language", async () => {
  for (const [lcid, word] of [[1031, "Suchen"], [1036, "Rechercher"], [1045, "Szukaj"], [1081, "\u0916\u094b\u091c\u0947\u0902"], [2055, "Suchen"]]) {
    const visitor = await browser.newPage(1440, 900);
    await open("settings.asp", visitor);
    await visitor.check(`input[name="language"][value="${lcid}"]`);
    await click(visitor, ".settings button");
    await open("whole-list.asp", visitor);
    assert.equal(await visitor.locator('label[for="L1-q"]').innerText(), word);
    await expectAccessible(visitor, `in ${lcid}`);
    await visitor.close();
  }
});

async function reach(plain, selector, key = "Enter") {
  for (let presses = 0; presses < 150; presses++) {
    await plain.keyboard.press("Tab");
    if (await plain.locator(`${selector}:focus`).count() > 0) {
      await Promise.all([plain.waitForNavigation(), plain.keyboard.press(key)]);
      return;
    }
  }
  assert.fail(`${selector} can't be reached with the keyboard`);
}

test("without JavaScript and with the keyboard alone a visitor searches, sorts and pages", async () => {
  const plain = await browser.newPage(375, 900, { javaScriptEnabled: false });
  await open("whole-list.asp", plain);
  for (let presses = 0; presses < 40 && (await plain.locator("#L1-q:focus").count()) === 0; presses++) await plain.keyboard.press("Tab");
  await plain.keyboard.type("wireless");
  await Promise.all([plain.waitForNavigation(), plain.keyboard.press("Enter")]);
  const where = "WHERE PRODUCTDESCRIPTION LIKE '%wireless%' OR PARTNUMBER LIKE '%wireless%'";
  assert.equal(await counter(plain), `1 - 20 of ${count(total(where))}`);
  await reach(plain, 'th a:has-text("Part number")');
  const order = "ORDER BY PARTNUMBER, PRODUCTID";
  assert.deepEqual(await shown(plain), names(`${all} ${where} ${order} LIMIT 20`));
  await reach(plain, 'a[rel="next"]');
  assert.deepEqual(await shown(plain), names(`${all} ${where} ${order} LIMIT 20 OFFSET 20`));
  await reach(plain, 'a[rel="last"]');
  await reach(plain, 'a[rel="prev"]');
  const last = Math.floor((total(where) - 1) / 20) * 20;
  assert.deepEqual(await shown(plain), names(`${all} ${where} ${order} LIMIT 20 OFFSET ${last - 20}`));
  await plain.close();
});

test("without JavaScript selected rows stay selected from page to page", async () => {
  const plain = await browser.newPage(1440, 900, { javaScriptEnabled: false });
  const chosen = () => plain.locator("#chosen").innerText();
  await open("choose.asp", plain);
  await plain.locator("tbody input").nth(0).check();
  await plain.locator("tbody input").nth(2).check();
  await click(plain, 'button:text-is("Next")');
  const first = await chosen();
  assert.equal(first.split(" ").length, 2);
  await plain.locator("tbody input").nth(1).check();
  await click(plain, 'button:text-is("Keep selection")');
  assert.equal((await chosen()).split(" ").length, 3);
  assert.equal(await plain.locator("tbody input:checked").count(), 1);
  await click(plain, 'button:text-is("First")');
  assert.equal(await plain.locator("tbody input:checked").count(), 2);
  await plain.locator("tbody input").nth(0).uncheck();
  await click(plain, 'button[aria-label="Page 3"]');
  assert.equal((await chosen()).split(" ").length, 2);
  await click(plain, 'a:text-is("Clear selection")');
  assert.equal(await chosen(), "");
  await plain.close();
  for (const width of [1440, 375]) {
    const visitor = await browser.newPage(width, 900);
    await open("choose.asp?L1-s=t1.,t2.", visitor);
    await expectAccessible(visitor, `choose.asp at ${width}`);
    await screenshot(visitor, `list-choose-${width}`);
    await visitor.close();
  }
  assert.deepEqual(browser.troubles, []);
});
