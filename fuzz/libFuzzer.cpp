// The program of libFuzzer: zan_fuzz TARGET [options and folders of libFuzzer]
#include "FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace
{

const zan_fuzz::FuzzTarget* pTarget = nullptr;

} // namespace

// Both names are libFuzzer's.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    if (*argc >= 2)
        pTarget = zan_fuzz::findTarget((*argv)[1]);
    if (pTarget == nullptr) {
        std::fputs("zan_fuzz: the first argument has to be a target, one of:\n", stderr);
        for (const zan_fuzz::FuzzTarget& target : zan_fuzz::allTargets())
            std::fprintf(stderr, "    %s\n", target.name);
        std::exit(2);
    }
    for (int i = 1; i < *argc; ++i)
        (*argv)[i] = (*argv)[i + 1]; // the null at the end moves too
    --*argc;
    zan_fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    pTarget->run({data, size});
    return 0;
}
