<%@ Language=JavaScript CodePage=65001 %>
<!--#include file="includes/text.inc"-->
<!--#include file="includes/frame.inc"-->
<!--#include file="includes/catalogue.inc"-->
<!--#include file="includes/sheet.inc"-->
<!--#include file="includes/tools.inc"-->
<%
// Takes an image for a product and shows it. The file keeps its name, in a folder of the product's own.
var page = Server.CreateObject("Varnel.Page");
requireEditor(page, "image-upload.asp");
var notice = "";
var failed = false;

// A file is what its first bytes say; its name must say the same, since images are served by their names.
var kinds = [
  { ends: [".png"], begins: [0x89, 0x50, 0x4e, 0x47] },
  { ends: [".jpg", ".jpeg"], begins: [0xff, 0xd8, 0xff] },
  { ends: [".gif"], begins: [0x47, 0x49, 0x46, 0x38] }
];

function isImage(name, bytes) {
  return kinds.some((kind) => kind.ends.some((end) => name.toLowerCase().endsWith(end)) &&
    kind.begins.every((byte, index) => bytes[index] === byte));
}

function fileName(sent) {
  return sent.slice(Math.max(sent.lastIndexOf("/"), sent.lastIndexOf("\\")) + 1);
}

// Notes the image as the user's. Whether he may have it is asked behind it: by then nobody else can write.
function fitsQuota(connection, product, file, size) {
  connection.Execute("DELETE FROM UPLOADEDIMAGE WHERE PRODUCTID = " + product + " AND IMAGEFILENAME = '" + quoted(file) + "'");
  connection.Execute("INSERT INTO UPLOADEDIMAGE (PRODUCTID, IMAGEFILENAME, USERID, BYTES) VALUES (" + product + ", '" + quoted(file) +
    "', '" + currentUser() + "', " + size + ")");
  var rs = connection.Execute("SELECT COUNT(*) AS IMAGES, SUM(BYTES) AS SIZE FROM UPLOADEDIMAGE WHERE USERID = '" + currentUser() + "'");
  return rs("IMAGES").Value <= quota("Images") && rs("SIZE").Value <= quota("ImageBytes");
}

// The number that a component raises where a folder of [files] may hold no more.
var folderFull = 61;

// Writes the file once it is sure that it may be there; what was noted goes again if it isn't.
function keep(connection, upload, product, file, size) {
  if (!fitsQuota(connection, product, file, size)) return "ShopImageQuota";
  try {
    upload.WriteFileToFileSystem("image", Server.MapPath("images/products/" + product));
  } catch (error) {
    if (error.number !== folderFull) throw error;
    return "ShopImageFull";
  }
  connection.Execute("UPDATE PRODUCT SET IMAGEFILENAME = '" + quoted("products/" + product + "/" + file) + "' WHERE PRODUCTID = " + product);
  return "";
}

function take(upload, product) {
  var sent = fileName(upload.GetFormVar("image"));
  var bytes = upload.GetFileBinary("image");
  if (bytes.length === 0) return "ShopImageEmpty";
  if (!/^[A-Za-z0-9][A-Za-z0-9 ._-]{0,99}$/.test(sent)) return "ShopImageName";
  if (!isImage(sent, bytes)) return "ShopImageKind";
  var connection = Server.CreateObject("ADODB.Connection");
  connection.Open(Application("EditorConnection_ConnectionString"));
  connection.BeginTrans();
  var problem = keep(connection, upload, product, sent, bytes.length);
  if (problem === "") connection.CommitTrans();
  else connection.RollbackTrans();
  connection.Close();
  return problem;
}

var id = numberParameter(Request.QueryString, "product");
if (isPost()) {
  var upload = Server.CreateObject("Varnel.Upload");
  requireOwnUpload(upload);
  var name = upload.GetFormVar("product").trim();
  id = /^\d{1,9}$/.test(name) ? Number(name) : -1;
  var problem = productName(id) === null ? "ShopNoProduct" : take(upload, id);
  failed = problem !== "";
  notice = failed ? problem : "ShopImageKept";
}

function image() {
  var rows = rowsOfQuery("SELECT IMAGEFILENAME FROM PRODUCT WHERE PRODUCTID = " + id, ["IMAGEFILENAME"]);
  return rows.length > 0 ? rows[0].IMAGEFILENAME : null;
}
var shown = productName(id);
var file = shown === null ? null : image();
%><!DOCTYPE html>
<html lang="<%= htmlLanguage() %>">
<head>
<%= documentHead(page, page.I18N("ShopImageUpload")) %>
</head>
<body>
<%= siteHeader(page, "image-upload.asp") %>
<main id="content">
<div class="bar"><h1><%= say(page, "ShopImageUpload") %></h1></div>
<form class="filter" method="post" enctype="multipart/form-data" action="<%= encode(page.URL("image-upload.asp")) %>">
<%= formFields(page.URL("image-upload.asp")) %>
<div><label for="product"><%= say(page, "ShopProductNumber") %></label>
<input id="product" name="product" inputmode="numeric" required value="<%= id < 0 ? "" : id %>"></div>
<div><label for="image"><%= say(page, "ShopImageFile") %></label>
<input id="image" name="image" type="file" accept="image/png,image/jpeg,image/gif" aria-describedby="hint"></div>
<button type="submit"><%= say(page, "ShopImageSend") %></button>
<p id="hint" class="hint"><%= say(page, "ShopImageHint") %></p>
<% if (notice !== "") { %><p class="note<%= failed ? " bad" : "" %>" role="status"><%= say(page, notice) %></p><% } %>
</form>
<% if (shown !== null) { %>
<section class="picture" aria-labelledby="picture"><h2 id="picture"><a href="<%= encode(page.URL("product.asp", "product", String(id))) %>"><%= encode(shown) %></a></h2>
<% if (file === null) { %><p class="hint"><%= say(page, "ShopNoImage") %></p><% } else { %>
<img src="<%= encode(page.URL("images/" + file.split("/").map(encodeURIComponent).join("/"))) %>" alt="<%= encode(shown) %>">
<% } %></section>
<% } %>
</main>
<%= siteFooter(page, "image-upload.asp") %>
</body>
</html>
