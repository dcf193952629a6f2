// A walk through the product list. At each step the rows and the counter on the screen must be those of a direct query.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { click as clickOn, openBrowser, screenshot } from "./browser.mjs";
import { orderBy, pageSize, productCount, productRows, sortColumns } from "./products.mjs";
import { openShop } from "./shop.mjs";

const byName = "PRODUCTDESCRIPTION, PRODUCTID";
const byNameReversed = "PRODUCTDESCRIPTION DESC, PRODUCTID DESC";

let shop;
let browser;
let page;
let total;
let pages;

before(async () => {
  shop = await openShop();
  total = productCount(shop);
  pages = Math.ceil(total / pageSize);
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

function count(number) {
  return number.toLocaleString("en-US");
}

// What stands on the screen: the counter, and of each row the texts of its cells.
function screen() {
  return page.evaluate(() => {
    const rows = [...document.querySelectorAll(".products tr")].slice(1);
    return {
      counter: document.querySelector(".counter").textContent.trim(),
      rows: rows.map((row) => [...row.cells].map((cell) => cell.textContent)),
      current: document.querySelector(".numbers .current")?.textContent ?? null,
    };
  });
}

// What should stand on page `number` of the list in `order`.
function expected(order, number) {
  const first = (number - 1) * pageSize;
  const rows = productRows(shop, order, number);
  return {
    counter: `${count(first + 1)} - ${count(first + rows.length)} of ${count(total)}`,
    rows,
    current: count(number),
  };
}

async function assertPage(order, number) {
  assert.deepEqual(await screen(), expected(order, number), `page ${number} by ${order}\n${shop.words()}`);
  assert.deepEqual(browser.troubles, []);
}

function click(selector) {
  return clickOn(page, selector);
}

function head(title) {
  return `.products tr:first-child a:has-text("${title}")`;
}

function pageLink(number) {
  return `.numbers a[title="Page ${number}"]`;
}

function arrow(title) {
  return page.textContent(`${head(title)} .arrow`);
}

async function isGrey(name) {
  return (await page.locator(`.steps span.off.${name}`).count()) === 1;
}

test("the first page is sorted by name and leads only forward", async () => {
  await page.goto(shop.url + "list.asp");
  await assertPage(byName, 1);
  assert.ok(await isGrey("first"));
  assert.ok(await isGrey("previous"));
  assert.ok(!(await isGrey("next")));
  assert.ok(!(await isGrey("last")));
  await screenshot(page, "list-1440");
});

test("a click on the name reverses the order, another one restores it", async () => {
  await page.goto(shop.url + "list.asp");
  assert.equal(await arrow("Name"), "\u25B2");
  await click(head("Name"));
  await assertPage(byNameReversed, 1);
  assert.equal(await arrow("Name"), "\u25BC");
  await click(head("Name"));
  await assertPage(byName, 1);
});

test("every head sorts by its column, then the other way round", async () => {
  await page.goto(shop.url + "list.asp");
  for (const [title, columns] of sortColumns) {
    for (const direction of ["ASC", "DESC"]) {
      const order = orderBy(columns, direction);
      await click(head(title));
      await assertPage(order, 1);
      await click(".steps .next");
      await assertPage(order, 2);
    }
  }
});

test("manufacturers stand in the order of their names", () => {
  const names = shop.query("SELECT MANUFACTURERNAME AS N FROM MANUFACTURER ORDER BY MANUFACTURERID").map((row) => row.N);
  // By the codes of their letters, small ones for large: the order of the file, whatever a server thinks of letters.
  const code = (name) => Buffer.from(name.replace(/[A-Z]/g, (letter) => letter.toLowerCase()));
  assert.deepEqual(names, [...names].sort((a, b) => Buffer.compare(code(a), code(b))));
});

test("next three times, previous, last and first", async () => {
  await page.goto(shop.url + "list.asp");
  await click(head("Name"));
  for (const number of [2, 3, 4]) {
    await click(".steps .next");
    await assertPage(byNameReversed, number);
  }
  await click(".steps .previous");
  await assertPage(byNameReversed, 3);
  await click(".steps .last");
  await assertPage(byNameReversed, pages);
  assert.ok(await isGrey("next"));
  assert.ok(await isGrey("last"));
  await click(".steps .previous");
  await assertPage(byNameReversed, pages - 1);
  await click(".steps .first");
  await assertPage(byNameReversed, 1);
});

test("page 5 and back by the row of numbers", async () => {
  await page.goto(shop.url + "list.asp");
  await click(pageLink(5));
  await assertPage(byName, 5);
  await click(pageLink(7));
  await assertPage(byName, 7);
  await click(pageLink(6));
  await assertPage(byName, 6);
  await click(pageLink(2));
  await assertPage(byName, 2);
  await click(pageLink(1));
  await assertPage(byName, 1);
});

test("the dots lead to the numbers beyond, and back", async () => {
  await page.goto(shop.url + "list.asp");
  await click(".numbers .after");
  await assertPage(byName, 11);
  await click(pageLink(20));
  await assertPage(byName, 20);
  await click(".steps .next");
  await assertPage(byName, 21);
  await click(".numbers .before");
  await assertPage(byName, 20);
});

// Record numbers are 16-bit in some of the library's sums; the border must not show.
test("from the last page back over row 32,767, and forward again", async () => {
  const border = Math.ceil(32767 / pageSize);
  await page.goto(shop.url + "list.asp");
  await click(".steps .last");
  await assertPage(byName, pages);
  let number = pages;
  while (number > border) {
    const title = await page.locator(".numbers").locator("a, .current").nth(1).textContent();
    await click(".numbers .before");
    number = Number(title.replaceAll(",", "")) - 1;
    await assertPage(byName, number);
  }
  while (number < border + 3) {
    await click(".steps .next");
    await assertPage(byName, ++number);
  }
  while (number > border - 3) {
    await click(".steps .previous");
    await assertPage(byName, --number);
  }
  await click(".numbers .after");
  await assertPage(byName, Number((await page.textContent(".numbers .current")).replaceAll(",", "")));
});

test("on a phone the list fits the screen", async () => {
  const phone = await browser.newPage(375, 812);
  await phone.goto(shop.url + "list.asp");
  assert.equal(await phone.evaluate(() => document.documentElement.scrollWidth), 375);
  await screenshot(phone, "list-375");
  await phone.close();
  assert.deepEqual(browser.troubles, []);
});

test("the keyboard reaches every link, and the reached one shows", async () => {
  await page.goto(shop.url + "list.asp");
  const links = await page.evaluate(() => [...document.querySelectorAll("a")].map((link) => link.href));
  const reached = [];
  for (let i = 0; i < links.length; i++) {
    await page.keyboard.press("Tab");
    const focused = await page.evaluate(() => ({
      href: document.activeElement.href,
      outline: getComputedStyle(document.activeElement).outlineStyle,
    }));
    assert.equal(focused.outline, "solid");
    reached.push(focused.href);
  }
  assert.deepEqual(reached, links);
});

test("an empty shop says so", async () => {
  const empty = await openShop({ empty: true });
  try {
    await page.goto(empty.url + "list.asp");
    assert.deepEqual(await screen(), { counter: "No records", rows: [["No products."]], current: null });
  } finally {
    await empty.close();
  }
});
