/* Writes the words of a generator to a pipe, without end, for programs that test random numbers:
 *
 *     random_stream --generator ParallelGenerator --index 7 --seed 1 | dieharder -a -g 200
 *
 * With --streams N the words of N streams follow one another in turn, so that a test of the whole sees what
 * the streams have to do with each other. docs/random-quality.md tells what the tests found.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <zenthar/zenthar.h>

enum { kBlockWords = 1 << 13, kMaxStreams = 1024, kUsage = 2 };

static const char kHelp[] =
    "Usage: random_stream --generator NAME [OPTION]...\n"
    "Writes random 64-bit words, in the machine's order of bytes, to standard output until it is closed.\n"
    "  --generator NAME  ParallelGenerator, ExtendedCA or MersenneTwister\n"
    "  --index K         the stream of the parallel generator, 0 to 1023 (0)\n"
    "  --streams N       words of N streams in turn (1): with seeds from S on, of the parallel generator "
    "the\n"
    "                    streams from K on\n"
    "  --seed S          seeds by the one-word key S; without it the generators begin as they are made\n"
    "  --bytes N         ends after N bytes\n"
    "  --help\n";

static int fail(const char* message, const char* text) {
  fprintf(stderr, "random_stream: %s%s\nTry 'random_stream --help'.\n", message, text);
  return kUsage;
}

/* A number in C's notation, at most `largest`. */
static int read_number(const char* text, uint64_t largest, uint64_t* value) {
  char* end;
  errno = 0;
  *value = strtoull(text, &end, 0);
  return errno == 0 && end != text && *end == 0 && !strchr(text, '-') && *value <= largest;
}

struct Options {
  const char* generator;
  uint64_t index, streams, seed, bytes;
  int seeded;
};

static RandomGenerator make_generator(const struct Options* options, uint64_t stream) {
  const mint index = (mint)(options->index + stream);
  const uint64_t key = options->seed + stream;
  RandomGenerator generator;
  if (strcmp(options->generator, "ParallelGenerator") == 0)
    generator = PMT32_alloc((void*)&index);
  else if (strcmp(options->generator, "ExtendedCA") == 0)
    generator = CA5BufferState_alloc(NULL);
  else
    generator = MersenneTwister_alloc(NULL);
  if (generator && options->seeded) generator->functions->seed(generator, &key, 1);
  return generator;
}

/* 1 when all was written, 0 when the reader has gone, -1 for an error. */
static int write_all(const void* data, size_t size) {
  const char* at = data;
  while (size > 0) {
    const ssize_t count = write(STDOUT_FILENO, at, size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno == EPIPE ? 0 : -1;
    at += count;
    size -= (size_t)count;
  }
  return 1;
}

static int write_stream(const struct Options* options) {
  static uint64_t block[kBlockWords];
  RandomGenerator generators[kMaxStreams];
  for (uint64_t i = 0; i < options->streams; ++i) {
    generators[i] = make_generator(options, i);
    if (!generators[i]) {
      fputs("random_stream: no memory for the generators\n", stderr);
      return EXIT_FAILURE;
    }
  }
  signal(SIGPIPE, SIG_IGN);
  int status = 1;
  uint64_t stream = 0;
  for (uint64_t left = options->bytes; left > 0 && status == 1;) {
    for (int i = 0; i < kBlockWords; ++i) {
      block[i] = generators[stream]->functions->bits(64, generators[stream]);
      if (++stream == options->streams) stream = 0;
    }
    const uint64_t size = left < sizeof block ? left : sizeof block;
    status = write_all(block, size);
    if (options->bytes != UINT64_MAX) left -= size;
  }
  if (status < 0) fprintf(stderr, "random_stream: cannot write: %s\n", strerror(errno));
  return status < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
}

int main(int argc, char** argv) {
  static const struct option known[] = {{"generator", required_argument, NULL, 'g'},
                                        {"index", required_argument, NULL, 'i'},
                                        {"streams", required_argument, NULL, 'n'},
                                        {"seed", required_argument, NULL, 's'},
                                        {"bytes", required_argument, NULL, 'b'},
                                        {"help", no_argument, NULL, 'h'},
                                        {NULL, 0, NULL, 0}};
  struct Options options = {.generator = "", .streams = 1, .bytes = UINT64_MAX};
  for (int option; (option = getopt_long(argc, argv, "h", known, NULL)) != -1;) {
    switch (option) {
      case 'g':
        options.generator = optarg;
        break;
      case 'i':
        if (!read_number(optarg, 1023, &options.index)) return fail("--index takes 0 to 1023, not ", optarg);
        break;
      case 'n':
        if (!read_number(optarg, kMaxStreams, &options.streams) || options.streams == 0)
          return fail("--streams takes 1 to 1024, not ", optarg);
        break;
      case 's':
        if (!read_number(optarg, UINT64_MAX, &options.seed))
          return fail("--seed takes a 64-bit number, not ", optarg);
        options.seeded = 1;
        break;
      case 'b':
        if (!read_number(optarg, UINT64_MAX - 1, &options.bytes))
          return fail("--bytes takes a number, not ", optarg);
        break;
      case 'h':
        fputs(kHelp, stdout);
        return EXIT_SUCCESS;
      default:
        return kUsage; /* getopt has told */
    }
  }
  if (optind < argc) return fail("no argument is expected: ", argv[optind]);
  const int parallel = strcmp(options.generator, "ParallelGenerator") == 0;
  if (!parallel && strcmp(options.generator, "ExtendedCA") != 0 &&
      strcmp(options.generator, "MersenneTwister") != 0)
    return fail("--generator takes ParallelGenerator, ExtendedCA or MersenneTwister, not ",
                options.generator);
  if (parallel ? options.index + options.streams > kMaxStreams : options.index != 0)
    return fail("only the parallel generator has streams by index, 1024 in all", "");
  if (options.streams > 1 && !options.seeded) return fail("--streams needs --seed", "");
  if (isatty(STDOUT_FILENO)) return fail("bytes are for a pipe or a file, not for a terminal", "");
  ZentharRTL_initialize();
  return write_stream(&options);
}
