-- A mix of everything that threads share: the pool of connections, sessions, application values, files, failures.
local targets = {
  "/shop/list.asp", "/shop/state.asp?a=1", "/shop/products.asp", "/shop/state.asp?a=%C3%A4", "/shop/bad.asp",
  "/shop/flush.asp", "/shop/styles/shop.css", "/shop/two-lists.asp", "/shop/none", "/shop/list.asp?R_1=rubbish"
}
local count, cookie = 0, nil

function request()
  count = count + 1
  local headers = {}
  -- Each other request is one of the same session.
  if cookie and count % 2 == 0 then headers["Cookie"] = cookie end
  return wrk.format("GET", targets[count % #targets + 1], headers)
end

function response(_, headers)
  if cookie then return end
  for name, value in pairs(headers) do
    if name:lower() == "set-cookie" then cookie = value:match("^[^;]+") end
  end
end
