// What stands in the product list, by a direct query: the cells of `pageSize` rows of page `number` in `order`.
export const pageSize = 20;

export function productCount(shop) {
  return shop.query("SELECT COUNT(*) AS N FROM PRODUCT")[0].N;
}

export function productRows(shop, order, number) {
  const rows = shop.query(
    "SELECT PARTNUMBER, PRODUCTDESCRIPTION, MANUFACTURERNAME, CLASSIFICATION FROM PRODUCT P LEFT JOIN MANUFACTURER M " +
      `ON M.MANUFACTURERID = P.MANUFACTURERID ORDER BY ${order} LIMIT ${pageSize} OFFSET ${(number - 1) * pageSize}`,
  );
  return rows.map((row) => Object.values(row).map(String));
}

// The columns that sort, and what each is sorted by.
export const sortColumns = [
  ["Part number", ["PARTNUMBER"]],
  ["Manufacturer", ["P.MANUFACTURERID", "PRODUCTDESCRIPTION"]],
  ["Category", ["CLASSIFICATION", "PRODUCTDESCRIPTION"]],
  ["Name", ["PRODUCTDESCRIPTION"]],
];

// The order of `columns` with the key behind them, all in one direction.
export function orderBy(columns, direction) {
  return [...columns, "PRODUCTID"].map((column) => `${column} ${direction}`).join(", ");
}
