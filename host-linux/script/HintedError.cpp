#include "host-linux/script/HintedError.h"

namespace hostlinux {
namespace {

// "DRecordset.SetPageSize takes a whole number as argument 1, not 'abc'."
varnel::String SentenceOf(const varnel::ArgumentError& error) {
  varnel::String text = error.Operation().empty() ? u"The call takes " : error.Operation() + u" takes ";
  text += error.Wanted();
  if (!error.IsProperty())
    text += u" as argument " + varnel::DecimalText(static_cast<std::int64_t>(error.Position()) + 1);
  return text + u", not " + error.Given() + u".";
}

}  // namespace

varnel::String HintOfCurrentError() {
  try {
    throw;
  } catch (const HintedError& error) {
    return error.Hint();
  } catch (const varnel::ArgumentError& error) {
    return SentenceOf(error);
  } catch (...) {
    return {};
  }
}

}  // namespace hostlinux
