/* Pages through a table of a SQLite file, without a server: varnel-elements FILE.db
 * FILE.db holds a table ELEMENT, as `varnel new` makes one. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host-linux/component/varnel_component.h"

static void check(int32_t number) {
  if (number == 0) return;
  fprintf(stderr, "error %d: %s\n", (int)number, varnel_last_error()->description);
  exit(1);
}

static varnel_value text(const char* bytes) {
  varnel_value value = {VARNEL_TEXT, 0, {0}, 0, 0, 0};
  value.of.text = bytes;
  value.size = strlen(bytes);
  return value;
}

static varnel_value number(int32_t given) {
  varnel_value value = {VARNEL_LONG, 0, {0}, 0, 0, 0};
  value.of.number = given;
  return value;
}

/* A recordset that stands on the page that `state` leads to: the first one for an empty state. */
static varnel_object open_page(const char* connection, const char* state) {
  varnel_object rs = 0;
  varnel_value argument = text(connection);
  varnel_value query[2];
  check(varnel_create("Varnel.DRecordset", &rs));
  check(varnel_call(rs, "SetConnection", &argument, 1, NULL));
  argument = number(25);
  check(varnel_call(rs, "SetPageSize", &argument, 1, NULL));
  check(varnel_call(rs, "SetRecCountON", NULL, 0, NULL));
  argument = text(state);
  check(varnel_call(rs, "SetState", &argument, 1, NULL));
  query[0] = text("SELECT ATOMICNUMBER, SYMBOL, NAME FROM ELEMENT");
  query[1] = text("ATOMICNUMBER");
  check(varnel_call(rs, "OpenRS", query, 2, NULL));
  return rs;
}

/* The value of a column in the current row, as text that the caller clears. */
static varnel_value field(varnel_object rs, const char* name) {
  varnel_value column = text(name);
  varnel_value found;
  varnel_value value;
  check(varnel_call_default(rs, &column, 1, &found));
  check(varnel_get(found.of.object, "Value", &value));
  varnel_clear(&found);
  return value;
}

static int at_end(varnel_object rs) {
  varnel_value end;
  check(varnel_get(rs, "EOF", &end));
  return end.of.number;
}

static void print_page(varnel_object rs) {
  varnel_value first;
  varnel_value total;
  check(varnel_call(rs, "GetRecordNumberForFirstRecordOnPage", NULL, 0, &first));
  check(varnel_call(rs, "GetTotalNumberOfRecords", NULL, 0, &total));
  printf("-- from %d of %d\n", (int)first.of.number, (int)total.of.number);
  for (; !at_end(rs); check(varnel_call(rs, "MoveNext", NULL, 0, NULL))) {
    varnel_value atomic_number = field(rs, "ATOMICNUMBER");
    varnel_value symbol = field(rs, "SYMBOL");
    varnel_value name = field(rs, "NAME");
    printf("%d %s %s\n", (int)atomic_number.of.number, symbol.of.text, name.of.text);
    varnel_clear(&symbol);
    varnel_clear(&name);
  }
}

int main(int argc, char** argv) {
  char connection[4096];
  varnel_value state = {0};
  if (argc != 2) {
    fprintf(stderr, "varnel-elements FILE.db\n");
    return 2;
  }
  snprintf(connection, sizeof connection, "Provider=SQLite;Mode=Read;Data Source=%s", argv[1]);
  /* A recordset looks for its state in a request, so that there is one; it brings none here. */
  check(varnel_request_begin("GET", "/elements", NULL, NULL, 0, NULL));
  state = text("");
  do {
    varnel_object rs = open_page(connection, state.of.text);
    print_page(rs);
    varnel_clear(&state);
    check(varnel_call(rs, "GetStateNext", NULL, 0, &state));
    varnel_release(rs);
  } while (state.size > 0);
  varnel_clear(&state);
  check(varnel_request_end(NULL));
  return 0;
}
