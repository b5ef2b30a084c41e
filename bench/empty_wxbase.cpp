// A program of the toolkit that does nothing: what any other has to be measured by.
#include <wx/init.h>

int main() {
    const wxInitializer toolkit;
    return toolkit.IsOk() ? 0 : 1;
}
