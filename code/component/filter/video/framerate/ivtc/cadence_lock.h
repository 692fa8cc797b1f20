#pragma once
// Inverse telecine's decisions over its measure histories, free of pictures.
//
// In 2:3 pulldown every fifth video picture repeats a field. Its difference to the
// picture before is the smallest of its parity, and two pictures on, the other
// parity's smallest difference follows:
//
//   film    A    B    B    C    D          video pictures: A  B  B/C  C/D  D
//   top     A    B    B    C    D          top diffs:         AB  0    BC   CD
//   bottom  A    B    C    D    D          bottom diffs:      AB  BC   CD   0
//
// Weaving the pair around the repeat (B/C with C/D) gives C back.
//
// Histories, oldest first, index k = queued picture k: C = top-field differences,
// D = bottom-field differences, E = comb levels; Cs, Ds, Es their sorted copies.

#include <array>
#include <cstdint>
#include <deque>

namespace ns_video_framerate {

struct ivtc_histories {
  std::deque<float> top, bottom, comb;                  // C, D, E
  std::array<float, 5> top_sorted{}, bottom_sorted{}, comb_sorted{};

  // Copies each history over the first slots of its sorted copy and sorts all five
  // slots; a slot that no value overwrote keeps its old content (0.0 at first).
  void sort_copies();
  void pop_all_fronts();
};

struct cadence_lock {
  uint32_t stage = 0;           // 0 nothing seen, 1 first picture seen, 2 primed
  uint32_t seen = 0;            // steps taken once primed
  uint32_t cycle_pos = 0;       // pictures consumed, modulo 5
  uint32_t repeat_pos = 2;      // cycle_pos of the last accepted weave
  bool first_decision = true;
  int32_t lock_count = 0;       // 0..8
  float repeat_level = 100.0f;  // running repeated-field difference; 100 = none yet

  void advance() { cycle_pos = (cycle_pos + 1) % 5; }
  // After a cadence match: confidence grows at the remembered position (a count above
  // 8 drops back to 4), restarts elsewhere.
  void note_match(bool pattern_one, const ivtc_histories& h);
  void note_rejected_weave();
  void note_repair();
};

enum class cadence_match { none, pattern_one, pattern_two };

// A combed picture at the front (E0 or E1 above 0.95 m) with the repeated field at
// C0 and D2 (pattern one) or C2 and D0 (pattern two).
cadence_match match_cadence(const ivtc_histories& h, float m);

// Field to weave from the next picture: 2 (its top field) when D0 > C0, else 1.
int weave_parity(const ivtc_histories& h);
// Field to keep when repairing: 2 when C0 > D0, else 1.
int repair_parity(const ivtc_histories& h);

// A single combed picture that weaving did not explain.
bool needs_repair(const ivtc_histories& h, float m);

// The locked cadence says the repeat is here even when the comb measures are flat.
bool predicts_weave(const cadence_lock& lock, const ivtc_histories& h);

// Output count against the 4-in-5 track: out_count - trunc(seen / (29.97 / rate)).
int32_t drift(uint32_t seen, uint32_t out_count, double rate);

}  // namespace ns_video_framerate
