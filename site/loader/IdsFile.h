// The lists of PCI and USB devices: vendors, their devices, and the boards that bear a PCI device.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace shop {

// A board of another maker (the subvendor) with the device on it. Ids are four hexadecimal digits in lower
// case.
struct IdsBoard {
  std::string subvendor;
  std::string subdevice;
  std::string name;

  bool operator==(const IdsBoard&) const = default;
};

struct IdsDevice {
  std::string id;
  std::string name;
  std::vector<IdsBoard> boards;

  bool operator==(const IdsDevice&) const = default;
};

struct IdsVendor {
  std::string id;
  std::string name;
  std::vector<IdsDevice> devices;

  bool operator==(const IdsVendor&) const = default;
};

struct IdsFile {
  // "yyyy-mm-dd hh:mm:ss" as the list's head tells it; empty if it doesn't.
  std::string date;
  std::vector<IdsVendor> vendors;

  bool operator==(const IdsFile&) const = default;
};

// Reads a whole list. Names come out as valid UTF-8, without blanks at their ends and without control
// characters; an empty name stays empty. Comments, the sections of device classes, the interfaces of USB
// devices and lines that are none of these are passed over, and so are devices without a vendor and boards
// without a device: no input fails.
IdsFile ParseIds(std::string_view bytes);

}  // namespace shop
