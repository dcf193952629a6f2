<% for (var i = 0; i < 5; i++) { Response.Write("part " + i); Response.Flush(); } %>
