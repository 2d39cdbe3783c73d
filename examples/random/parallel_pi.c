/* Pi by throwing points at a square, on all processors: the share that falls into the quarter circle is pi
 * / 4.
 *
 * The points are cut into blocks, and each block draws from a stream of the parallel generator of its own. So
 * the result belongs to the seed alone, whatever the number of threads and whichever thread takes which
 * block; and since the blocks are independent, the spread of their estimates tells the error of the mean.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <getopt.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zenthar/zenthar.h>

enum { kBlocks = 256, kBuffer = 2048, kNoMemory = 1 };

static const double kPi = 3.14159265358979323846;

struct Work {
  mint points; /* of each block */
  uint64_t seed;
  mint hits[kBlocks];
};

/* Points of the unit square that lie in the circle; each is two reals of the buffer. */
static mint count_hits(RandomGenerator generator, mint points) {
  mreal buffer[2 * kBuffer];
  mint hits = 0;
  for (mint left = points; left > 0; left -= kBuffer) {
    const mint count = left < kBuffer ? left : kBuffer;
    generator->functions->reals(buffer, 2 * count, generator, 0.0, 1.0);
    for (mint i = 0; i < count; ++i)
      hits += buffer[2 * i] * buffer[2 * i] + buffer[2 * i + 1] * buffer[2 * i + 1] < 1.0;
  }
  return hits;
}

static void run_blocks(void* data, ParallelThread thread) {
  struct Work* work = data;
  const mint end = ParallelThread_RangeEnd(thread);
  for (mint block = ParallelThread_RangeStart(thread); block < end; ++block) {
    RandomGenerator generator = PMT32_alloc(&block);
    if (!generator) {
      ParallelThread_cancel(thread, kNoMemory);
      return;
    }
    const uint64_t key[] = {work->seed, (uint64_t)block};
    generator->functions->seed(generator, key, 2);
    work->hits[block] = count_hits(generator, work->points);
    PMT32_free(generator);
  }
}

static void report(const struct Work* work) {
  double sum = 0, squares = 0;
  for (int block = 0; block < kBlocks; ++block) sum += (double)work->hits[block] / (double)work->points;
  const double share = sum / kBlocks;
  for (int block = 0; block < kBlocks; ++block) {
    const double off = (double)work->hits[block] / (double)work->points - share;
    squares += off * off;
  }
  const double error = 4 * sqrt(squares / (kBlocks - 1) / kBlocks);
  printf("pi = %.8f, standard error %.8f, from %lld points; off by %+.2f standard errors\n", 4 * share, error,
         (long long)work->points * kBlocks, (4 * share - kPi) / error);
}

static int usage(void) {
  fputs(
      "Usage: parallel_pi [--points N] [--seed S] [--threads T]\n"
      "Estimates pi from N random points (10^8), rounded up to a multiple of 256.\n",
      stderr);
  return 2;
}

static int read_number(const char* text, long long smallest, long long largest, long long* value) {
  char* end;
  errno = 0;
  *value = strtoll(text, &end, 10);
  return errno == 0 && end != text && *end == 0 && *value >= smallest && *value <= largest;
}

int main(int argc, char** argv) {
  static const struct option known[] = {{"points", required_argument, NULL, 'p'},
                                        {"seed", required_argument, NULL, 's'},
                                        {"threads", required_argument, NULL, 't'},
                                        {NULL, 0, NULL, 0}};
  ZentharRTL_initialize(); /* the thread number is now that of the processors */
  static struct Work work;
  long long points = 100000000, seed = 1, threads = getParallelThreadNumber();
  for (int option; (option = getopt_long(argc, argv, "", known, NULL)) != -1;) {
    int good = 0;
    if (option == 'p') good = read_number(optarg, 1, 1000000000000, &points);
    if (option == 's') good = read_number(optarg, 0, INT64_MAX, &seed);
    if (option == 't') good = read_number(optarg, 1, 1024, &threads);
    if (!good) return usage();
  }
  if (optind < argc) return usage();
  work.points = (points + kBlocks - 1) / kBlocks;
  work.seed = (uint64_t)seed;
  setParallelThreadNumber((int32_t)threads);
  ParallelThreadsSchedule by_block = New_ParallelThreadsSchedule(2, 1);
  const int32_t code = ParallelThreads_For(&work, NULL, run_blocks, 0, kBlocks, 1, by_block);
  Delete_ParallelThreadsSchedule(by_block);
  if (code != 0) {
    fprintf(stderr, "parallel_pi: the loop ended with code %d\n", code);
    return EXIT_FAILURE;
  }
  report(&work);
  DeinitializeRuntimeLibrary(1);
  return EXIT_SUCCESS;
}
