<% throw new Error("planned"); %>
