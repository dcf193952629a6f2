// A port of the loopback interface that nobody has.
#pragma once

int FreePort();
