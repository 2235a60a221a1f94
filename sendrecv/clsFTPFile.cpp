#include "sendrecv/clsFTPFile.h"

#include "com/Result.h"
#include "com/Values.h"

using com::Call;
using com::Return;

STDMETHODIMP clsFTPFile::get_sFileName(BSTR* Value) {
    return Return(Value, [&] { return sFileName; });
}
STDMETHODIMP clsFTPFile::put_sFileName(BSTR Value) {
    return Call([&] { sFileName = com::Text(Value); });
}
STDMETHODIMP clsFTPFile::get_lAttributes(LONG* Value) {
    return Return(Value, [&] { return lAttributes; });
}
STDMETHODIMP clsFTPFile::put_lAttributes(LONG Value) {
    return Call([&] { lAttributes = Value; });
}
