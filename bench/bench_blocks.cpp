// Buffers and blocks: loading a file beside reading it with the standard streams, and finding the
// blocks of a project beside reading its lines one by one.
#include <fstream>
#include <sstream>
#include <string>

#include "bench/qvbench.h"
#include "qvutils/common/blocks/qvutils.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

constexpr std::size_t fileSize = 100'000'000;
constexpr int notes = 10'000;
constexpr TBlockSig projectSig{"projectTB", 1, 0};
constexpr TBlockSig notesSig{"notesTB", 1, 0};

/// A text file that lives as long as the program runs.
class LargeFile {
public:
    explicit LargeFile(std::size_t size)
        : path(qvplatform::joinPath(
              qvplatform::temporaryDirectory(),
              "qvbench-" + std::to_string(qvplatform::processId()) + "-" + std::to_string(size))) {
        const std::string line = "  >a line of notes, as long as people tend to write them\n";
        std::ofstream file(path, std::ios::binary);
        for (std::size_t done = 0; done < size; done += line.size()) {
            file << line;
        }
    }
    ~LargeFile() { qvplatform::fileSystem().remove(path); }
    const std::string path;
};

const LargeFile& largeFile() {
    static const LargeFile file(fileSize);
    return file;
}

void LoadFile(benchmark::State& state) {
    for (auto _ : state) {
        FBuff buffer;
        if (!buffer.LoadFile(largeFile().path.c_str())) {
            state.SkipWithError(qverr().chars());
        }
        benchmark::DoNotOptimize(buffer.text().data());
    }
}
BENCHMARK(LoadFile)->Unit(benchmark::kMillisecond);

void ifstream_read(benchmark::State& state) {
    for (auto _ : state) {
        std::ifstream file(largeFile().path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        benchmark::DoNotOptimize(text.view().data());
    }
}
BENCHMARK(ifstream_read)->Unit(benchmark::kMillisecond);

std::string note(int i) {
    TextBlock block;
    block.StartWrite(notesSig, ("note" + std::to_string(i)).c_str());
    for (int line = 0; line < 20; ++line) {
        block.AppendLine(">a line of notes that is neither long nor short, no.");
    }
    block.EndWrite();
    return std::string(block.text());
}

const FBuff& project() {
    static const FBuff text = [] {
        TextBlock block;
        block.StartWrite(projectSig, "p");
        for (int i = 0; i < notes; ++i) {
            block.Append(note(i));
        }
        block.EndWrite();
        block.setPosn(0);
        return FBuff(block);
    }();
    return text;
}

void find_blocks(benchmark::State& state) {
    for (auto _ : state) {
        FBuff source = project();
        TextBlock block, child;
        block.LoadBlock(source);
        block.StartRead(projectSig, true);
        int found = 0;
        while (child.LoadBlock(block)) {
            found += child.IsType(notesSig);
        }
        if (found != notes) {
            state.SkipWithError("blocks are missing");
        }
    }
    state.SetItemsProcessed(state.iterations() * notes);
}
BENCHMARK(find_blocks);

void getline_all(benchmark::State& state) {
    const std::string text(project().text());
    for (auto _ : state) {
        std::istringstream source(text);
        std::string line;
        std::size_t found = 0;
        while (std::getline(source, line)) {
            found += line.find("begin") != line.npos;
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * notes);
}
BENCHMARK(getline_all);

void write_blocks(benchmark::State& state) {
    for (auto _ : state) {
        TextBlock block, child;
        block.StartWrite(projectSig, "p");
        for (int i = 0; i < notes; ++i) {
            child.StartWrite(notesSig, "note");
            for (int line = 0; line < 20; ++line) {
                child.writeline("gap %g", 0.25 * line);
            }
            child.EndWrite();
            block.Append(child);
            child.unalloc();
        }
        block.EndWrite();
        benchmark::DoNotOptimize(block.getLen());
    }
    state.SetItemsProcessed(state.iterations() * notes);
}
BENCHMARK(write_blocks);

void ostream_print(benchmark::State& state) {
    for (auto _ : state) {
        std::ostringstream block;
        for (int i = 0; i < notes; ++i) {
            block << "begin <" << notesSig.type << "(1.0)> \"note\"\n";
            for (int line = 0; line < 20; ++line) {
                block << "  gap " << 0.25 * line << "\n";
            }
            block << "end\n";
        }
        benchmark::DoNotOptimize(block.view().size());
    }
    state.SetItemsProcessed(state.iterations() * notes);
}
BENCHMARK(ostream_print);

}  // namespace

int main(int argc, char** argv) {
    FBuff buffer;
    buffer.LoadFile(largeFile().path.c_str());
    qvAddRow("memory for a text file of 100 MB", buffer.capacity() / 1e6, buffer.getLen() / 1e6,
             "the file", 2, "MB");
    buffer.unalloc();
    return qvRunBenchmarks(
        argc, argv,
        {{"load a text file of 100 MB", "LoadFile", "ifstream_read", "std::ifstream", 1},
         {"find a block of 1 KB in a project", "find_blocks", "getline_all", "std::getline", 1},
         {"write a block of 20 numbers", "write_blocks", "ostream_print", "std::ostream", 1.25}});
}
