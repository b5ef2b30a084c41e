#include <qvcore.h>

#include <cstdio>

#include <qvutils/common/text/qvstring.h>

int main(int argc, char**) {
    int unused = argc;  // earns a warning, which the library must not turn into an error
    qvCommandObject commands;
    qvAppBase application("consumer", "1.0", commands);
    if (!commands.Execute("app.addsubnode(\"projectTB\", \"Example\")")) return 1;
    const QVString name = getProjectManager().FindNode("Example")->getName();
    std::puts(name.Chars());
}
