<?php
// The list page in PHP: the same data, cells and links, paged by keyset with the total carried along.
declare(strict_types=1);

const COLUMNS = ['id' => 'Number', 'name' => 'Name', 'maker' => 'Maker', 'category' => 'Category', 'price' => 'Price', 'stock' => 'Stock'];
const PAGE_SIZE = 10;

function encode($text): string { return htmlspecialchars((string)$text, ENT_COMPAT); }

// The position as one text: step, total, number of the first row, column, direction, and the values of the row that it
// goes on from.
function url(int $step, int $total, int $first, string $sort, bool $descending, array $keys = []): string {
  return '/list?R_1=' . rawurlencode(json_encode([$step, $total, $first, $sort, $descending ? 1 : 0, ...$keys]));
}

function pageLink(string $target, string $text): string {
  return $target === '' ? "<span>$text</span>" : '<a href="' . encode($target) . "\">$text</a>";
}

$state = ($_GET['R_1'] ?? '') === '' ? [0, -1, 1, 'name', 0] : json_decode($_GET['R_1']);
[$step, $total, $first, $sort] = $state;
$descending = $state[4] === 1;
$keys = array_slice($state, 5);
if (!isset(COLUMNS[$sort])) { http_response_code(500); exit; }

$database = new SQLite3($_SERVER['ITEMS'], SQLITE3_OPEN_READONLY);
if ($total < 0) $total = $database->querySingle('SELECT COUNT(*) FROM item');
$backward = $step === 2 || $step === 3;
$order = $backward !== $descending ? 'DESC' : 'ASC';
$keyed = $step === 1 || $step === 2;
$bound = $keyed ? " WHERE ($sort, id) " . ($order === 'ASC' ? '>' : '<') . ' (?, ?)' : '';
$statement = $database->prepare("SELECT id, name, maker, category, price, stock FROM item$bound ORDER BY $sort $order, id $order LIMIT " . PAGE_SIZE);
foreach ($keyed ? $keys : [] as $i => $key) $statement->bindValue($i + 1, $key);
$result = $statement->execute();
$rows = [];
while ($row = $result->fetchArray(SQLITE3_ASSOC)) $rows[] = $row;
if ($backward) $rows = array_reverse($rows);

$count = count($rows);
if ($step === 3) $first = $total - $count + 1;
$last = $first + $count - 1;
$keysOf = fn(array $row): array => [$row[$sort], $row['id']];
$atStart = $first === 1;
$atEnd = $last >= $total;

$html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head><title>Items</title></head>\n<body>\n<p>$first - $last of $total</p>\n<p>";
$html .= pageLink($atStart ? '' : url(0, $total, 1, $sort, $descending), 'First') . ' ';
$html .= pageLink($atStart ? '' : url(2, $total, $first - PAGE_SIZE, $sort, $descending, $keysOf($rows[0])), 'Previous') . ' ';
$html .= pageLink($atEnd ? '' : url(1, $total, $first + PAGE_SIZE, $sort, $descending, $keysOf($rows[$count - 1])), 'Next') . ' ';
$html .= pageLink($atEnd ? '' : url(3, $total, 1, $sort, $descending), 'Last');
$html .= "</p>\n\n<!-- Begin Varnel.Table Object -->\n<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"4\" border=\"0\" >\n<tr>";
foreach (COLUMNS as $column => $title) {
  $html .= '<td  bgcolor="#f3f6fa">' . pageLink(url(0, $total, 1, $column, $sort === $column && !$descending), $title) . '</td>';
}
$html .= "</tr>\n";
foreach ($rows as $row) {
  $html .= '<tr>';
  foreach (COLUMNS as $column => $title) $html .= '<td  bgcolor="#ffffff">' . encode($row[$column]) . '</td>';
  $html .= "</tr>\n";
}
$html .= "\n</table>\n<!--End Varnel.Table Object -->\n\n</body>\n</html>\n";

// Filled up with blanks, so that all send the same number of bytes.
$html = str_pad($html, (int)$_SERVER['PAGE_BYTES']);
header('Content-Type: text/html; charset=utf-8');
header('Content-Length: ' . strlen($html));
echo $html;
