// Makes a loop over elements of a vector form.
//
// A form is a class with `static Real compute(Real x..., Mask& rare)`, or with Complex for the operands or
// the result that are complex, Bits for the operands that are integers, or `static Single compute(Single
// x..., SingleMask& rare)`. It sets lanes of `rare` whose result it does not have; these are computed by the
// operation's definition, or by the form's own `static R rare(A... operands)` where the definition is not
// near enough to the exact result. It must not depend on what other lanes hold, so that an element's result
// depends on the element alone.
//
// A form can have a `static Real compute_rare(Real x..., Mask& rare)` too, slower but in vectors. It is asked
// for the lanes that compute() sets, and what it sets in turn goes the way above.
//
// A form whose operations wait for each other more than for the processor is better given in two halves,
// `static Half prepare(Real x...)` and `static Real finish(Half, Real x..., Mask& rare)`: the loop prepares
// the next vector while it finishes one, so that what is in flight has chains half as long.
#ifndef ZENTHAR_KERNELS_VECTOR_SIMD_LOOP_H
#define ZENTHAR_KERNELS_VECTOR_SIMD_LOOP_H

#include "kernels/vector/block.h"
#include "kernels/vector/simd/lanes.h"

namespace zenthar::ZENTHAR_TARGET {

template <class T>
struct LanesOf;

template <>
struct LanesOf<mreal> {
  using Type = Real;
  using Truth = Mask;
  using Probes = Bits;
  static constexpr int kCount = kLanes;
  ZENTHAR_KERNEL static Real load(const void* from) { return load_lanes(from); }
  ZENTHAR_KERNEL static void store(void* to, Real x) { store_lanes(to, x); }
  ZENTHAR_KERNEL static Real probe(Real x) { return x - x; }
};

template <>
struct LanesOf<mint> {
  using Type = Bits;
  ZENTHAR_KERNEL static Bits load(const void* from) { return bits(load_lanes(from)); }
};

template <>
struct LanesOf<float> {
  using Type = Single;
  using Truth = SingleMask;
  using Probes = SingleBits;
  static constexpr int kCount = kSingleLanes;
  ZENTHAR_KERNEL static Single load(const void* from) {
    Single x;
    __builtin_memcpy(&x, from, sizeof x);
    return x;
  }
  ZENTHAR_KERNEL static void store(void* to, Single x) { __builtin_memcpy(to, &x, sizeof x); }
  ZENTHAR_KERNEL static Single probe(Single x) { return x - x; }
};

template <>
struct LanesOf<mcomplex> {
  using Type = Complex;
  using Truth = Mask;
  using Probes = Bits;
  static constexpr int kCount = kLanes;
  ZENTHAR_KERNEL static Complex load(const void* from) {
    const Real a = load_lanes(from), b = load_lanes(static_cast<const char*>(from) + sizeof(Real));
#if defined(__AVX512F__)
    return {__builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14),
            __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15)};
#elif defined(__AVX2__)
    return {__builtin_shufflevector(a, b, 0, 2, 4, 6), __builtin_shufflevector(a, b, 1, 3, 5, 7)};
#else
    return {__builtin_shufflevector(a, b, 0, 2), __builtin_shufflevector(a, b, 1, 3)};
#endif
  }
  ZENTHAR_KERNEL static void store(void* to, Complex z) {
    Real a, b;
#if defined(__AVX512F__)
    a = __builtin_shufflevector(z.re, z.im, 0, 8, 1, 9, 2, 10, 3, 11);
    b = __builtin_shufflevector(z.re, z.im, 4, 12, 5, 13, 6, 14, 7, 15);
#elif defined(__AVX2__)
    a = __builtin_shufflevector(z.re, z.im, 0, 4, 1, 5);
    b = __builtin_shufflevector(z.re, z.im, 2, 6, 3, 7);
#else
    a = __builtin_shufflevector(z.re, z.im, 0, 2);
    b = __builtin_shufflevector(z.re, z.im, 1, 3);
#endif
    store_lanes(to, a);
    store_lanes(static_cast<char*>(to) + sizeof(Real), b);
  }
  ZENTHAR_KERNEL static Real probe(Complex z) { return real(bits(z.re - z.re) | bits(z.im - z.im)); }
};

#define ZENTHAR_INLINE __attribute__((always_inline))

// A vector of each operand.
template <class... L>
struct LoadedOperands;
template <class L>
struct LoadedOperands<L> {
  typename L::Type x;
  ZENTHAR_KERNEL explicit LoadedOperands(const void* from) : x(L::load(from)) {}
  template <class F>
  ZENTHAR_KERNEL auto pass_to(F f) const {
    return f(x);
  }
};
template <class L, class M>
struct LoadedOperands<L, M> {
  typename L::Type x;
  typename M::Type y;
  ZENTHAR_KERNEL LoadedOperands(const void* a, const void* b) : x(L::load(a)), y(M::load(b)) {}
  template <class F>
  ZENTHAR_KERNEL auto pass_to(F f) const {
    return f(x, y);
  }
};

template <class Op, class Form, uint32_t kFlags, class... A>
class VectorLoop {
 public:
  using R = Result<Op, A...>;

  static int64_t run(void* result, const void* const* operands, mint n) {
    return run(result, operands, n, std::make_integer_sequence<int, sizeof...(A)>{});
  }

 private:
  using Lanes = LanesOf<R>;
  static constexpr int kCount = Lanes::kCount;
  static constexpr bool kProbed = kChecksResult<Op, R> && (kFlags & kCheckReals) != 0;
  static constexpr bool kComputesRare = requires(typename LanesOf<A>::Type... x, Mask left) {
    Form::compute_rare(x..., left);
  };
  static constexpr bool kHalved = requires(typename LanesOf<A>::Type... x) { Form::prepare(x...); };

  // What has been seen to fail: in vectors by probes, elsewhere one by one.
  struct Found {
    typename Lanes::Probes probes{};
    int64_t failed = 0;
  };

  // What is taken from a vector of operands before the results of the one before are stored: the operands
  // themselves, or what a form in two halves makes of them.
  template <class... P>
  ZENTHAR_KERNEL static auto prepared(P... operands) {
    if constexpr (kHalved) {
      return Form::prepare(LanesOf<A>::load(operands)...);
    } else {
      return LoadedOperands<LanesOf<A>...>(operands...);
    }
  }
  template <class Prepared, class... P>
  ZENTHAR_KERNEL static auto computed(const Prepared& vector, typename Lanes::Truth& rare, P... operands) {
    if constexpr (kHalved) {
      return Form::finish(vector, LanesOf<A>::load(operands)..., rare);
    } else {
      return vector.pass_to([&](auto... x) ZENTHAR_INLINE { return Form::compute(x..., rare); });
    }
  }

  template <int... k>
  ZENTHAR_KERNEL static int64_t run(void* result, const void* const* operands, mint n,
                                    std::integer_sequence<int, k...>) {
    const void* const own[] = {operands[k]...};
    Found found;
    mint i = 0;
    if (n >= kCount) {
      // The next vector is loaded before this one's results are stored: a load waits for an earlier store
      // where the low twelve bits of their addresses overlap, as those of runs that were allocated together
      // may.
      auto now = prepared(own[k]...);
      for (; i + kCount <= n; i += kCount) {
        const mint ahead = i + 2 * kCount <= n ? i + kCount : i;
        const auto next = prepared(from_element<A>(own[k], ahead)...);
        step(found, now, from_element<R>(result, i), from_element<A>(own[k], i)...);
        now = next;
      }
    }
    if (i < n) {
      // The rest in buffers, padded with its last element.
      alignas(64) char padded[sizeof...(A)][kCount * sizeof(mcomplex)];
      alignas(64) R results[kCount];
      const mint rest = n - i;
      (pad<A>(padded[k], from_element<A>(own[k], i), rest), ...);
      step(found, prepared(static_cast<const void*>(padded[k])...), results,
           static_cast<const void*>(padded[k])...);
      __builtin_memcpy(from_element<R>(result, i), results, size_t(rest) * sizeof(R));
    }
    for (int lane = 0; lane < kCount; ++lane) found.failed |= int64_t(found.probes[lane]);
    return found.failed;
  }

  template <class T>
  ZENTHAR_KERNEL static void pad(void* to, const void* from, mint n) {
    for (mint lane = 0; lane < kCount; ++lane) store(to, lane, load<T>(from, lane < n ? lane : n - 1));
  }

  // One vector of elements.
  template <class Prepared, class... P>
  ZENTHAR_KERNEL static void step(Found& found, const Prepared& vector, void* result, P... operands) {
    typename Lanes::Truth rare{};
    const auto y = computed(vector, rare, operands...);
    put(found, y, rare, result, operands...);
  }

  // Stores a vector of results after the rare ones among them have been computed.
  template <class Y, class... P>
  ZENTHAR_KERNEL static void put(Found& found, Y y, typename Lanes::Truth rare, void* result, P... operands) {
    if constexpr (kComputesRare) {
      if (__builtin_expect(any(rare), 0)) {
        Mask left = none();
        y = select(rare, compute_again(left, operands...), y);
        rare = rare & left;
      }
    }
    if (__builtin_expect(any(rare), 0)) {
      alignas(64) R results[kCount];
      LanesOf<R>::store(results, y);
      found.failed |= compute_rare(results, lanes_of(rare), operands...);
      y = LanesOf<R>::load(results);
    }
    LanesOf<R>::store(result, y);
    if constexpr (kProbed) found.probes |= bits(LanesOf<R>::probe(y));
  }

  // Not marked as cold, which would have it compiled for size.
  template <class... P>
  [[gnu::noinline]] static Real compute_again(Mask& left, P... operands) {
    return Form::compute_rare(LanesOf<A>::load(operands)..., left);
  }

  template <class... P>
  [[gnu::noinline, gnu::cold]] static int64_t compute_rare(R* results, uint32_t lanes, P... operands) {
    int64_t failed = 0;
    for (; lanes != 0; lanes &= lanes - 1) {
      const int lane = __builtin_ctz(lanes);
      if constexpr (requires(A... a) { Form::rare(a...); }) {
        results[lane] = Form::rare(load<A>(operands, lane)...);
      } else {
        const Outcome<R> outcome = evaluate_own<Op>(BlockChecks<kFlags>{}, load<A>(operands, lane)...);
        results[lane] = outcome.value;
        failed |= int64_t(outcome.failure);
      }
    }
    return failed;
  }
};

// Defines the loops of an operation with a vector form: ZENTHAR_VECTOR_FORM(Op, Form, types of operands).
#define ZENTHAR_VECTOR_FORM(Op, Form, ...)                                                             \
  template <>                                                                                          \
  int64_t Loop<Op, 0, __VA_ARGS__>::run(void* result, const void* const* operands, mint n) {           \
    return VectorLoop<Op, Form, 0, __VA_ARGS__>::run(result, operands, n);                             \
  }                                                                                                    \
  template <>                                                                                          \
  int64_t Loop<Op, kCheckReals, __VA_ARGS__>::run(void* result, const void* const* operands, mint n) { \
    return VectorLoop<Op, Form, kCheckReals, __VA_ARGS__>::run(result, operands, n);                   \
  }

}  // namespace zenthar::ZENTHAR_TARGET

#endif
