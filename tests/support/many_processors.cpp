// The library has no more threads than this says, whatever the machine of the test has. The header
// of OpenMP stays out: compilers differ in what it says of the exceptions of the function.

extern "C" __attribute__((visibility("default"))) int omp_get_num_procs()
{
    return 16;
}
