// lzbench [corpus-folder] [repetitions] [families...]
//   corpus folder: default ../shared/corpus/calgary; repetitions: default 9;
//   families: any of deflate inflate lzo lzss (default all four).
#include <cmath>
#include <fstream>
#include <iterator>

#include "lzbench.h"

namespace lzbench {

double geomean(const std::vector<double>& values) {
    if (values.empty()) return 0;
    double s = 0;
    for (double v : values) s += std::log(v);
    return std::exp(s / double(values.size()));
}

std::string fixed(double v, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    return buf;
}

void printRow(const std::string& label, const std::vector<std::string>& cells, int width) {
    std::printf("%-24s", label.c_str());
    for (const auto& c : cells) std::printf("%*s", width, c.c_str());
    std::printf("\n");
}

}  // namespace lzbench

int main(int argc, char** argv) {
    using namespace lzbench;
    const std::string corpus = argc > 1 ? argv[1] : "../shared/corpus/calgary";
    const int reps = argc > 2 ? std::max(1, std::atoi(argv[2])) : 9;
    std::vector<std::string> families;
    for (int i = 3; i < argc; ++i) families.push_back(argv[i]);
    if (families.empty()) families = {"deflate", "inflate", "lzo", "lzss"};

    const char* files[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};
    std::vector<Input> inputs;
    for (const char* file : files) {
        std::ifstream in(corpus + "/" + file, std::ios::binary);
        if (!in) continue;
        Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (b.size() > 102400) b.resize(102400);
        inputs.push_back({file, std::move(b)});
    }
    if (inputs.empty()) {
        std::printf("No corpus file found in %s: nothing to measure (run 'make corpus').\n", corpus.c_str());
        return 0;
    }
    std::printf("%zu corpus files cut to 102400 bytes, best of %d repetitions, TSC ticks per input byte\n",
                inputs.size(), reps);
    for (const auto& f : families) {
        if (f == "deflate") benchDeflate(inputs, reps);
        else if (f == "inflate") benchInflate(inputs, corpus, reps);
        else if (f == "lzo") benchLzo(inputs, reps);
        else if (f == "lzss") benchLzss(inputs, reps);
        else std::printf("Unknown family '%s' (deflate, inflate, lzo, lzss)\n", f.c_str());
    }
    return 0;
}
