// Linked into a program with --wrap=__cpu_indicator_init: its kernels are those that the loader
// picks on a processor without AVX-512.

// GCC's record of the processor beyond the first 32 features, which the resolvers of clones read.
extern "C" unsigned int __cpu_features2[];
extern "C" int __real___cpu_indicator_init();
extern "C" int __wrap___cpu_indicator_init();

namespace {

// The compiler takes the record for constant, so it is told of every store.
void Store(int word, unsigned int bits)
{
    __cpu_features2[word] = bits;
    asm volatile("" ::: "memory");
}

// The position of a level in the record is the compiler's affair: the bit is found by its effect.
void ForgetLevel4()
{
    for (unsigned int bit = 1; bit != 0; bit <<= 1) {
        for (int word = 0; word < 3; ++word) {
            const unsigned int kept = __cpu_features2[word];
            Store(word, kept & ~bit);
            if (__builtin_cpu_supports("x86-64-v4") == 0) {
                return;
            }
            Store(word, kept);
        }
    }
}

} // namespace

int __wrap___cpu_indicator_init()
{
    const int status = __real___cpu_indicator_init();
    ForgetLevel4();
    return status;
}
