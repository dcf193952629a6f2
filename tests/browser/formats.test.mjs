// Numbers, prices and days as each of the shop's languages writes them, and a form that reads them.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, before, test } from "node:test";
import { click, openBrowser, screenshot } from "./browser.mjs";
import { openShop } from "./shop.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
const nbsp = "\u00a0";

// How a language groups digits, cuts decimals off and orders a day; what it calls what the form says.
const languages = [
  { lcid: 1033, tag: "en", group: ",", point: ".", day: (y, m, d) => `${Number(m)}/${Number(d)}/${y}`, millions: "1,234,567.50", counter: "Records 1-5 of 12", unread: "This price can't be read. An example: 1,234.50" },
  { lcid: 1031, tag: "de", group: ".", point: ",", day: (y, m, d) => `${d}.${m}.${y}`, millions: "1.234.567,50", counter: "Datensätze 1-5 von 12", unread: "Dieser Preis ist nicht lesbar. Ein Beispiel: 1.234,50" },
  { lcid: 1036, tag: "fr", group: nbsp, point: ",", day: (y, m, d) => `${d}/${m}/${y}`, millions: `1${nbsp}234${nbsp}567,50`, counter: "Enregistrements 1-5 sur 12", unread: `Ce prix est illisible. Un exemple : 1${nbsp}234,50` },
  { lcid: 1045, tag: "pl", group: nbsp, point: ",", day: (y, m, d) => `${d}.${m}.${y}`, millions: `1${nbsp}234${nbsp}567,50`, counter: "Rekordy 1-5 z 12", unread: `Tej ceny nie można odczytać. Przykład: 1${nbsp}234,50` },
  { lcid: 1081, tag: "hi", group: ",", point: ".", day: (y, m, d) => `${d}-${m}-${y}`, millions: "12,34,567.50", counter: "रिकॉर्ड 1-5, कुल 12", unread: "यह मूल्य पढ़ा नहीं जा सका। उदाहरण: 1,234.50" },
  { lcid: 2055, tag: "de-CH", group: "’", point: ".", day: (y, m, d) => `${d}.${m}.${y}`, millions: "1’234’567.50", counter: "Datensätze 1-5 von 12", unread: "Dieser Preis ist nicht lesbar. Ein Beispiel: 1’234.50" },
];

let shop;
let browser;
let page;
let dearest; // the id of the product with the highest price

before(async () => {
  shop = await openShop();
  dearest = shop.query("SELECT PRODUCTID AS ID FROM CATALOGPRODUCTPRICE ORDER BY PRICE DESC LIMIT 1")[0].ID;
  browser = await openBrowser();
  page = await browser.newPage(1440, 900);
});

after(async () => {
  await browser?.close();
  await shop?.close();
});

const open = (address) => page.goto(shop.url + address);
// The texts that match, with their no-break blanks.
const texts = (selector) => page.locator(selector).evaluateAll((found) => found.map((each) => each.textContent.trim()));

async function choose(language) {
  await open("settings.asp");
  await page.check(`input[name="language"][value="${language.lcid}"]`);
  await click(page, ".settings button");
  assert.equal(await page.getAttribute("html", "lang"), language.tag);
}

// Below a lakh all of them group by threes.
function whole(language, number) {
  return String(number).replace(/\B(?=(\d{3})+$)/g, language.group);
}

function amount(language, number) {
  const [before, behind] = number.toFixed(2).split(".");
  return whole(language, before) + language.point + behind;
}

const price = (language, number) => `${amount(language, number)}${nbsp}€`;
const day = (language, date) => language.day(...date.split("-"));

// Types both, and sends the form.
async function ask(typedPrice, typedDay) {
  await open("offer.asp");
  await page.fill("#price", typedPrice);
  await page.fill("#day", typedDay);
  await click(page, ".offer button");
}

const problems = () => texts(".problem");
const answer = async () => (await texts(".offer .note"))[0];

for (const language of languages) {
  test(`${language.tag}: prices and days on a price list, a product sheet and in a counter`, async () => {
    await choose(language);
    const periods = shop.query(
      "SELECT date(PRICEEFFECTIVEDATE) AS D, date(PRICEEXPIRYDATE) AS E, PRICE AS P FROM CATALOGPRODUCTPRICE " +
        "WHERE PRODUCTID = 32 AND GROUPBY = '' ORDER BY PRICEEFFECTIVEDATE LIMIT 5",
    );
    assert.equal(periods.length, 5);
    await open("prices.asp?product=32");
    const rows = (await texts(".catalogue > table > tbody > tr:not(:has(table)) > td")).slice(3);
    assert.deepEqual(rows, periods.flatMap((row) => [day(language, row.D), day(language, row.E), price(language, row.P)]));
    assert.ok((await texts(".catalogue"))[0].includes(language.counter), (await texts(".catalogue"))[0]);

    const [product] = shop.query(
      "SELECT date(PRODUCTEFFECTIVITYDATE) AS D, (SELECT PRICE FROM CATALOGPRODUCTPRICE C WHERE C.PRODUCTID = P.PRODUCTID AND GROUPBY = ''" +
        " AND date(PRICEEFFECTIVEDATE) <= date('now', 'localtime') ORDER BY PRICEEFFECTIVEDATE DESC LIMIT 1) AS PRICE " +
        `FROM PRODUCT P WHERE PRODUCTID = ${dearest}`,
    );
    assert.ok(product.PRICE >= 1000, "a price with a group");
    await open(`product.asp?product=${dearest}`);
    assert.equal((await texts("strong.price"))[0], price(language, product.PRICE));
    assert.ok((await texts(".facts td")).includes(day(language, product.D)), day(language, product.D));

    const [{ N: count }] = shop.query("SELECT COUNT(*) AS N FROM PRODUCT");
    await open("list.asp");
    assert.ok((await texts(".counter"))[0].endsWith(whole(language, count)), (await texts(".counter"))[0]);
  });

  test(`${language.tag}: a price and a day are read as they are written, and shown so again`, async () => {
    await choose(language);
    await ask(language.millions, day(language, "2026-03-05"));
    assert.deepEqual(await problems(), []);
    assert.ok((await answer()).endsWith(`${language.millions}${nbsp}€, ${day(language, "2026-03-05")}`), await answer());
    assert.equal(await page.inputValue("#price"), language.millions);
  });

  test(`${language.tag}: what can't be read is told, and stays in its field`, async () => {
    await choose(language);
    await ask("twelve", day(language, "2026-03-05"));
    assert.deepEqual(await problems(), [language.unread]);
    assert.equal(await page.inputValue("#price"), "twelve");
    assert.equal(await page.getAttribute("#price", "aria-invalid"), "true");
    assert.equal(await page.getAttribute("#day", "aria-invalid"), null);
    assert.equal(await answer(), undefined);

    await ask(amount(language, 12.5), "2026");
    assert.equal((await problems()).length, 1);
    assert.ok((await problems())[0].includes(day(language, "2026-01-31")), "an example of a day");
    assert.equal(await page.getAttribute("#day", "aria-invalid"), "true");
  });
}

test("the same digits are another price in another language", async () => {
  await choose(languages[0]);
  await ask("1,500", "3/5/2026");
  assert.match(await answer(), /1,500\.00.*3\/5\/2026/);
  await choose(languages[1]);
  await ask("1,500", "3.5.2026");
  assert.match(await answer(), /1,50\u00a0€, 03\.05\.2026/);
});

test("what a keyboard has in place of a language's separator does as well, and so does the currency", async () => {
  await choose(languages[2]);
  await ask("1 234,5 €", "5/3/26");
  assert.match(await answer(), /1\u00a0234,50\u00a0€, 05\/03\/2026/);
  await choose(languages[5]);
  await ask("1'234.50", "5.3.2026");
  assert.match(await answer(), /1’234\.50\u00a0€, 05\.03\.2026/);
});

test("a price and a day outside the range are told with the range", async () => {
  await choose(languages[4]);
  await ask("0", "01-01-1990");
  assert.deepEqual(await problems(), ["मूल्य 0.01 – 99,99,999.00 की सीमा में होना चाहिए।", "दिनांक 01-01-2020 – 31-12-2039 की सीमा में होना चाहिए।"]);
  await choose(languages[1]);
  await ask("10000000", "31.04.2026");
  assert.deepEqual(await problems(), ["Der Preis muss im Bereich 0,01 – 9.999.999,00 liegen.", "Dieses Datum ist nicht lesbar. Ein Beispiel: 31.01.2026"]);
});

test("markup in a field stays text", async () => {
  await choose(languages[0]);
  await ask('"><b>1</b>', "'");
  assert.equal(await page.inputValue("#price"), '"><b>1</b>');
  assert.equal(await page.locator("main b").count(), 0);
});

test("the form is accessible with its problems shown, in both widths", async () => {
  for (const language of [languages[1], languages[4]]) {
    await choose(language);
    for (const width of [1440, 375]) {
      await page.setViewportSize({ width, height: 900 });
      await ask("abc", "99");
      await page.evaluate(axe);
      const { violations } = await page.evaluate(() => window.axe.run());
      const grave = violations.filter((each) => ["serious", "critical"].includes(each.impact));
      assert.deepEqual(grave.map((each) => `${each.id}: ${each.nodes[0].html}`), []);
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth), 0);
      await screenshot(page, `offer-${language.tag}-${width}`);
      for (const address of ["prices.asp?product=32", `product.asp?product=${dearest}`, "settings.asp"]) {
        await open(address);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth), 0, address);
        await screenshot(page, `${address.split(".")[0]}-${language.tag}-${width}`);
      }
    }
  }
  await page.setViewportSize({ width: 1440, height: 900 });
});

test("no page had a script error or a missing file", () => {
  assert.deepEqual(browser.troubles, []);
});
