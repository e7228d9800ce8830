// A scripted error callback, installed on a fresh thread, that keeps every report it sees.
#ifndef QOR_TESTS_FRAME_CALLBACK_SCRIPT_H_
#define QOR_TESTS_FRAME_CALLBACK_SCRIPT_H_

#include <cmath>
#include <thread>
#include <vector>

#include "qor/tem.h"

// What the callback saw, and what it does: returns `result`, replaces Res1 and Res2 when given.
struct CallbackScript {
  std::vector<temErrorContext> seen;
  int result = 0;
  double new_res1 = NAN, new_res2 = NAN;
};
inline thread_local CallbackScript* g_script = nullptr;

inline int ScriptedCallback(temErrorContext* context) {
  g_script->seen.push_back(*context);
  if (!std::isnan(g_script->new_res1)) context->Res1 = g_script->new_res1;
  if (!std::isnan(g_script->new_res2)) context->Res2 = g_script->new_res2;
  return g_script->result;
}

// Runs `body` on a fresh thread with the callback, then `mode` set; returns the last report.
template <class F>
temErrorContext WithCallback(CallbackScript& script, uint32_t mode, F body) {
  std::thread([&] {
    g_script = &script;
    _temSetErrorCallBack(ScriptedCallback);
    _temSetMode(mode);
    body();
  }).join();
  return script.seen.empty() ? temErrorContext{} : script.seen.back();
}

#endif  // QOR_TESTS_FRAME_CALLBACK_SCRIPT_H_
