#include <qvcore.h>

#include <cstdio>

#include <qvutils/common/text/qvstring.h>

int main(int argc, char**) {
    int unused = argc;  // earns a warning, which the library must not turn into an error
    qvApplication application("consumer", "1.0");
    application.Execute("app.addsubnode(\"projectTB\", \"Example\")");
    const QVString name = getProjectManager()->getNodes()[1]->getName();
    std::puts(name.chars());
    return qverr() ? 1 : 0;
}
