// The library has no more threads than this says, whatever the machine of the test has. The header
// of OpenMP stays out: compilers differ in the exception specification that it gives the function.

extern "C" __attribute__((visibility("default"))) int omp_get_num_procs()
{
    return 16;
}
