-- Forty products in three catalogues: some disabled, some still to come, some without a date, some expired; a
-- category that two catalogues share, one product's sheet, prices of two groups, favourites of two users.

INSERT INTO MANUFACTURER VALUES (1, 'Acme', 'AC'), (2, 'Bolt', 'BO'), (10, 'Cord', 'CO'), (11, 'Dial', 'DI');
INSERT INTO UNIT VALUES ('PCE', 'Piece');

WITH RECURSIVE N (ID) AS (SELECT 1 UNION ALL SELECT ID + 1 FROM N WHERE ID < 40)
INSERT INTO PRODUCT (PRODUCTID, PROPERTYGROUPID, MANUFACTURERID, NUMBER, UNITCODE, BUSINESSPARTNERID, PRODUCTDESCRIPTION,
                     PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTEFFECTIVITYDATE, PRODUCTEXPIRYDATE, DISABLED, CLASSIFICATION,
                     DATEUPDATED, STOCKITEM, MFRPARTNUMBER, CLASSCODE)
SELECT ID, 1, 1 + ID % 2, 'N' || ID, 'PCE', 10 + ID % 2, 'Device ' || (100 + ID * 17 % 41),
       CASE WHEN ID % 4 = 0 THEN '8086-' ELSE 'X_' END || ID, 'B-' || (100 + ID * 23 % 41),
       CASE ID % 7 WHEN 0 THEN NULL WHEN 1 THEN '2030-01-01 00:00:00' WHEN 2 THEN '2024-03-05 00:00:00'
                   ELSE '2020-01-01 00:00:00' END,
       CASE WHEN ID % 5 = 0 THEN '2021-01-01 00:00:00' END, ID % 10 = 0, 'Cards',
       '2024-01-01 00:00:00', ID % 2, 'M' || ID, 'C1'
FROM N;

INSERT INTO CATALOG VALUES (1, 'Office'), (2, 'Workshop'), (3, 'Empty');
INSERT INTO CATEGORY VALUES (1, 'Cards'), (2, 'Cables'), (3, 'Unused');
INSERT INTO CATALOGNODE VALUES (1, 1, 1), (2, 1, 2), (3, 2, 2), (4, 3, NULL);
INSERT INTO PRODUCTSBYCATEGORY SELECT 1, PRODUCTID, PRODUCTID * 3 % 5 FROM PRODUCT WHERE PRODUCTID <= 25;
INSERT INTO PRODUCTSBYCATEGORY SELECT 2, PRODUCTID, PRODUCTID FROM PRODUCT WHERE PRODUCTID BETWEEN 20 AND 34;

-- Products from 35 on are in no catalogue: these favourites are stale.
INSERT INTO FAVORITES SELECT 'demo', PRODUCTID, PRODUCTID % 9 <> 0, PRODUCTID % 3, PRODUCTID % 2 FROM PRODUCT
WHERE PRODUCTID BETWEEN 2 AND 33 OR PRODUCTID IN (35, 36, 37, 38);
INSERT INTO FAVORITES VALUES ('other', 3, 1, 0, 0), ('other', 35, 1, 0, 0), ('other', 36, 1, 0, 0), ('other', 37, 1, 0, 0);

INSERT INTO PROPERTY VALUES (1, 'Width', 0), (2, 'Class', 1), (3, 'Bus', 1), (4, 'Revision', 0);
INSERT INTO PRODUCTPROPVALUE VALUES (5, 1, '12 mm'), (5, 2, 'Bridge'), (5, 3, 'PCI'), (5, 4, '07');
INSERT INTO PROPSBYPROPGROUP VALUES (1, 1, 1, 20), (1, 3, 1, 10), (1, 2, 0, 5);

INSERT INTO ICON VALUES (1, 'pdf.gif');
INSERT INTO ATTACHEDFILE VALUES (1, 5, 1, 'sheet.pdf', 'Data sheet'), (2, 5, NULL, 'lost.xyz', 'A file without an icon'),
                                (3, 5, 1, 'guide.pdf', 'Guide');
-- Of product 5: 10 is disabled, 8 still to come, 4 good and 25 expired. Of 6 only disabled and expired ones.
INSERT INTO ALTERNATIVEPRODUCTS VALUES (5, 4, 1), (5, 8, 2), (5, 10, 3), (5, 25, 4), (6, 10, 1), (6, 25, 2);

WITH RECURSIVE M (NR) AS (SELECT 1 UNION ALL SELECT NR + 1 FROM M WHERE NR < 12)
INSERT INTO CATALOGPRODUCTPRICE
SELECT 5, G.NAME, '2024-' || substr('0' || NR, -2) || '-01 00:00:00',
       CASE WHEN NR < 12 THEN '2024-' || substr('0' || NR, -2) || '-20 00:00:00' END, NR * G.FACTOR, 'EUR'
FROM M, (SELECT '' AS NAME, 10.5 AS FACTOR UNION ALL SELECT 'trade', 8) G;
