// The product grid as a person walks it, in whichever form: what is on the screen, and what can be clicked.
import assert from "node:assert/strict";
import { click } from "./browser.mjs";
import { pageSize, productRows } from "./products.mjs";

// What stands in the grid inside `selector`: title, counter, the cells of its rows, the page number in bold.
export function readGrid(page, selector) {
  return page.evaluate((place) => {
    const rows = [...document.querySelector(`${place} > table`).rows];
    const [title, counter] = [...rows[0].querySelectorAll("td td")].map((cell) => cell.textContent.trim());
    const heads = rows.findIndex((row) => !row.querySelector("table"));
    return {
      title,
      counter,
      heads: [...rows[heads].cells].map((cell) => cell.textContent.trim()),
      rows: rows.slice(heads + 1).map((row) => [...row.cells].map((cell) => cell.textContent)),
      current: rows[1].querySelector("table b b")?.textContent ?? null,
    };
  }, selector);
}

// A bar button or sort image by its text: a link around an image, or an image that submits a form.
export function control(text) {
  return `:is(a:has(img[alt="${text}"]), input[type="image"][alt="${text}"])`;
}

export class ProductWalk {
  constructor(shop, browser, page, total) {
    Object.assign(this, { shop, browser, page, total, pages: Math.ceil(total / pageSize) });
  }

  // Everything on the screen must be that of page `number` in `order`.
  async assertPage(order, number) {
    const first = (number - 1) * pageSize;
    const rows = productRows(this.shop, order, number);
    assert.deepEqual(
      await readGrid(this.page, ".grid"),
      {
        title: "Products",
        counter: `Records ${first + 1}-${first + rows.length} of ${this.total}`,
        heads: ["Part number", "Name", "Manufacturer", "Category"],
        rows,
        current: String(number),
      },
      `page ${number} by ${order}\n${this.shop.words()}`,
    );
    assert.deepEqual(this.browser.troubles, []);
  }

  step(text) {
    return click(this.page, `.grid ${control(text)}`);
  }

  sort(title) {
    return click(this.page, `.grid td:not(:has(table)):has-text("${title}") :is(a, input[type="image"])`);
  }

  number(text) {
    return click(this.page, `.grid b a:text-is("${text}")`);
  }

  // The first of the row of page numbers.
  async lowestNumber() {
    return Number(await this.page.locator(".grid b > :is(a, b)", { hasText: /^\d+$/ }).first().textContent());
  }

  // The text of the sort image of column `title`, and its file.
  image(title) {
    const image = this.page.locator(`.grid td:not(:has(table)):has-text("${title}") :is(img, input[type="image"])`);
    return image.evaluate((element) => `${element.alt} ${element.src.split("/").pop()}`);
  }

  // The bar buttons that lead nowhere.
  off() {
    return this.page.evaluate(() =>
      [...document.querySelectorAll('.grid img[src*="/BtnNavBar"]')]
        .filter((image) => image.src.endsWith("Off.gif") && !image.closest("a"))
        .map((image) => image.alt),
    );
  }
}
