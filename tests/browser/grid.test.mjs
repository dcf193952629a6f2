// A walk through the product grid, by links and by posted forms. At each step the rows and the counter on the screen
// must be those of a direct query.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, readdirSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { ProductWalk, control, readGrid } from "./grid-walk.mjs";
import { orderBy, pageSize, productCount, sortColumns } from "./products.mjs";
import { openShop, repository } from "./shop.mjs";

const byPart = orderBy(["PARTNUMBER"], "ASC");
const byName = orderBy(["PRODUCTDESCRIPTION"], "ASC");
const byNameReversed = orderBy(["PRODUCTDESCRIPTION"], "DESC");

let shop;
let browser;
let page;
let walk;

before(async () => {
  shop = await openShop();
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
  walk = new ProductWalk(shop, browser, page, productCount(shop));
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

for (const [form, file] of [
  ["links", "products.asp"],
  ["a form", "products-form.asp"],
]) {
  const begin = () => page.goto(shop.url + file);

  test(`by ${form}: the first page is sorted by the first column and leads only forward`, async () => {
    await begin();
    await walk.assertPage(byPart, 1);
    assert.deepEqual(await walk.off(), ["First page", "Previous page"]);
    assert.equal(await walk.image("Part number"), "Sorted up: click to reverse SortedUp.gif");
    assert.equal(await walk.image("Name"), "Sort by this column Sort.gif");
    await screenshot(page, `${file.replace(".asp", "")}-1440`);
  });

  test(`by ${form}: name, reversed, next three times, previous, last, first`, async () => {
    await begin();
    await walk.sort("Name");
    await walk.assertPage(byName, 1);
    assert.equal(await walk.image("Name"), "Sorted up: click to reverse SortedUp.gif");
    await walk.sort("Name");
    await walk.assertPage(byNameReversed, 1);
    assert.equal(await walk.image("Name"), "Sorted down: click to reverse SortedDn.gif");
    for (const number of [2, 3, 4]) {
      await walk.step("Next page");
      await walk.assertPage(byNameReversed, number);
    }
    await walk.step("Previous page");
    await walk.assertPage(byNameReversed, 3);
    await walk.step("Last page");
    await walk.assertPage(byNameReversed, walk.pages);
    assert.deepEqual(await walk.off(), ["Next page", "Last page"]);
    await walk.step("Previous page");
    await walk.assertPage(byNameReversed, walk.pages - 1);
    await walk.step("First page");
    await walk.assertPage(byNameReversed, 1);
    await walk.sort("Name");
    await walk.assertPage(byName, 1);
  });

  test(`by ${form}: page 5 and back by the row of numbers`, async () => {
    await begin();
    await walk.sort("Name");
    for (const number of [5, 7, 6, 2, 1]) {
      await walk.number(number);
      await walk.assertPage(byName, number);
    }
  });

  test(`by ${form}: the arrows lead to the numbers beyond, and back`, async () => {
    await begin();
    await walk.number("[>>]");
    await walk.assertPage(byPart, 11);
    await walk.number(20);
    await walk.assertPage(byPart, 20);
    await walk.step("Next page");
    await walk.assertPage(byPart, 21);
    await walk.number("[<<]");
    await walk.assertPage(byPart, 20);
  });

  test(`by ${form}: every column sorts, then the other way round`, async () => {
    await page.goto(shop.url + file);
    await walk.sort("Name");
    for (const [title, columns] of sortColumns) {
      for (const direction of ["ASC", "DESC"]) {
        await walk.sort(title);
        // The name comes last and was sorted by before: its first click sorts up all the same.
        await walk.assertPage(orderBy(columns, direction), 1);
        await walk.step("Next page");
        await walk.assertPage(orderBy(columns, direction), 2);
      }
    }
  });

  // Record numbers are 16-bit in some of the library's sums; the border must not show.
  test(`by ${form}: from the last page back over row 32,767, and forward again`, async () => {
    const border = Math.ceil(32767 / pageSize);
    await begin();
    await walk.step("Last page");
    await walk.assertPage(byPart, walk.pages);
    let number = walk.pages;
    while (number > border) {
      const left = await walk.lowestNumber();
      await walk.number("[<<]");
      number = left - 1;
      await walk.assertPage(byPart, number);
    }
    while (number < border + 3) {
      await walk.step("Next page");
      await walk.assertPage(byPart, ++number);
    }
    while (number > border - 3) {
      await walk.step("Previous page");
      await walk.assertPage(byPart, --number);
    }
  });

  test(`by ${form}: on a phone the grid fits the screen`, async () => {
    const phone = await browser.newPage(375, 812);
    await phone.goto(shop.url + file);
    assert.equal(await phone.evaluate(() => document.documentElement.scrollWidth), 375);
    await screenshot(phone, `${file.replace(".asp", "")}-375`);
    await phone.close();
    assert.deepEqual(browser.troubles, []);
  });
}

test("two grids on a page keep each other's place", async () => {
  const place = async (id) => {
    const { counter, rows } = await readGrid(page, `#${id}`);
    return [counter.split(" ")[1], rows];
  };
  const manufacturers = (order, offset) =>
    shop
      .query(`SELECT MANUFACTURERNAME, MANUFACTURERCODE FROM MANUFACTURER ORDER BY ${order} LIMIT 10 OFFSET ${offset}`)
      .map(Object.values);
  const products = (order, offset) =>
    shop
      .query(`SELECT PRODUCTDESCRIPTION, CLASSIFICATION FROM PRODUCT ORDER BY ${order} LIMIT 10 OFFSET ${offset}`)
      .map(Object.values);
  const step = (id, text) => click(page, `#${id} ${control(text)}`);
  const byManufacturer = "MANUFACTURERNAME, MANUFACTURERID";

  await page.goto(shop.url + "two-lists.asp");
  await step("manufacturers", "Next page");
  await step("products", "Next page");
  await step("products", "Next page");
  assert.deepEqual(await place("manufacturers"), ["11-20", manufacturers(byManufacturer, 10)]);
  assert.deepEqual(await place("products"), ["21-30", products("PRODUCTDESCRIPTION, PRODUCTID", 20)]);

  await step("manufacturers", "Sort by this column");
  assert.deepEqual(await place("manufacturers"), ["1-10", manufacturers("MANUFACTURERCODE, MANUFACTURERID", 0)]);
  assert.deepEqual(await place("products"), ["21-30", products("PRODUCTDESCRIPTION, PRODUCTID", 20)]);

  await step("products", "Sorted up: click to reverse");
  await step("manufacturers", "Next page");
  assert.deepEqual(await place("manufacturers"), ["11-20", manufacturers("MANUFACTURERCODE, MANUFACTURERID", 10)]);
  assert.deepEqual(await place("products"), ["1-10", products("PRODUCTDESCRIPTION DESC, PRODUCTID DESC", 0)]);
  await screenshot(page, "two-lists-1440");
  assert.deepEqual(browser.troubles, []);
});

test("on a phone two grids stand below each other", async () => {
  const phone = await browser.newPage(375, 812);
  await phone.goto(shop.url + "two-lists.asp");
  assert.equal(await phone.evaluate(() => document.documentElement.scrollWidth), 375);
  const tops = await phone.evaluate(() => [...document.querySelectorAll(".grid")].map((grid) => grid.offsetTop));
  assert.ok(tops[1] > tops[0]);
  await screenshot(phone, "two-lists-375");
  await phone.close();
});

test("the images are shown at half the size at which they are drawn", async () => {
  await page.goto(shop.url + "products.asp");
  const sizes = await page.evaluate(() =>
    [...document.querySelectorAll(".grid img")].map((image) => [image.naturalWidth, image.naturalHeight, image.width, image.height]),
  );
  assert.equal(sizes.length, 8);
  for (const [width, height, shownWidth, shownHeight] of sizes) {
    assert.deepEqual([width, height], [2 * shownWidth, 2 * shownHeight]);
  }
});

test("the bitmap images are those that the script draws", () => {
  const drawn = mkdtempSync(join(tmpdir(), "varnel-images-"));
  try {
    execFileSync(join(repository, "scripts/draw-images"), [drawn]);
    const committed = join(repository, "site/pages/images");
    const bitmaps = readdirSync(committed).filter((file) => file.endsWith(".gif"));
    assert.deepEqual(bitmaps.sort(), readdirSync(drawn).sort());
    for (const file of readdirSync(drawn)) {
      assert.ok(readFileSync(join(committed, file)).equals(readFileSync(join(drawn, file))), file);
    }
  } finally {
    rmSync(drawn, { recursive: true });
  }
});

test("values of the catalogue stand in a grid as text", async () => {
  const special = "PRODUCTDESCRIPTION LIKE '%&%' OR PRODUCTDESCRIPTION LIKE '%<%' OR PRODUCTDESCRIPTION LIKE '%\"%'";
  const [found] = shop.query(`SELECT PARTNUMBER, PRODUCTDESCRIPTION FROM PRODUCT WHERE ${special} ORDER BY PARTNUMBER LIMIT 1`);
  const before = shop.query(`SELECT COUNT(*) AS N FROM PRODUCT WHERE PARTNUMBER < '${found.PARTNUMBER}'`)[0].N;
  await page.goto(shop.url + "products.asp");
  for (let number = 1; number <= Math.floor(before / pageSize); number++) await walk.step("Next page");
  const { rows } = await readGrid(page, ".grid");
  assert.ok(rows.some((row) => row[1] === found.PRODUCTDESCRIPTION), shop.words());
});

test("the keyboard reaches every control of the form, and the reached one shows", async () => {
  await page.goto(shop.url + "products-form.asp");
  const controls = await page.locator('a, input[type="image"]').count();
  for (let i = 0; i < controls; i++) {
    await page.keyboard.press("Tab");
    assert.equal(await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle), "solid");
  }
  const last = await page.locator('a, input[type="image"]').last().elementHandle();
  assert.ok(await last.evaluate((control) => control === document.activeElement));
});

test("an empty shop says so, with the heads and one empty cell", async () => {
  const empty = await openShop({ empty: true });
  try {
    for (const file of ["products.asp", "products-form.asp"]) {
      await page.goto(empty.url + file);
      const { counter, rows, current } = await readGrid(page, ".grid");
      assert.deepEqual([counter, current], ["No records", null]);
      assert.deepEqual(rows, [["\u00a0"]]);
      assert.deepEqual(await walk.off(), ["First page", "Previous page", "Next page", "Last page"]);
    }
  } finally {
    await empty.close();
  }
});
