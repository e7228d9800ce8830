// Pairs of uniforms sorted into two groups by the first uniform of each pair, so that each group
// runs through its own kernels as one array; a flag per pair keeps their order, and the walk over
// the flags puts the accepted candidates back in the order of the pairs.
#ifndef QOR_DISTRIBUTIONS_TWO_GROUPS_H_
#define QOR_DISTRIBUTIONS_TWO_GROUPS_H_

namespace rof {
namespace dist {

template <class T, int kPairs>
struct TwoGroups {
  // first[g] and second[g] hold the group's (u1, u2) after Split; the worker turns them into
  // the candidate and its test value in place.
  unsigned char flag[kPairs];
  T first[2][kPairs];
  T second[2][kPairs];
  int count[2];

  // Pair i is (u[2i], u[2i+1]); it joins group 1 when in_group1(u[2i]).
  template <class InGroup1>
  void Split(int pairs, const T* u, InGroup1 in_group1) {
    count[0] = count[1] = 0;
    for (int i = 0; i < pairs; ++i) {
      const int g = in_group1(u[2 * i]) ? 1 : 0;
      flag[i] = static_cast<unsigned char>(g);
      first[g][count[g]] = u[2 * i];
      second[g][count[g]] = u[2 * i + 1];
      ++count[g];
    }
  }

  // Walks the flags in order, each taking the next item of its group, and stores the candidate
  // first[g][k] at the next place of `out` when its test value second[g][k] is <= 0.
  // Returns the number stored.
  int Accept(int pairs, T* out) const {
    int next[2] = {0, 0};
    int stored = 0;
    for (int i = 0; i < pairs; ++i) {
      const int g = flag[i];
      const int k = next[g]++;
      if (second[g][k] <= T(0)) out[stored++] = first[g][k];
    }
    return stored;
  }
};

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_TWO_GROUPS_H_
