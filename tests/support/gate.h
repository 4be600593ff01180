// A point at which threads stop until the test lets them go on.
//
//   qxtest::Gate gate;
//   server.Expect("x").Does([gate] { gate.Pass(); });   // a statement that ends when the test says so, if
//   ever server.OnCancel([gate] { gate.Pass(); });           // a driver whose cancel blocks
//   ...
//   ASSERT_TRUE(gate.WaitForArrivals(1));
//   gate.Open();
//   ASSERT_TRUE(gate.WaitForPassages(1));
#pragma once

#include <memory>
#include <thread>
#include <vector>

namespace qxtest {

// A copy is the same gate; a thread that is left behind at one keeps it alive. Any thread.
class Gate {
  public:
    Gate();
    // Waits until the gate is open, for ever if nobody opens it.
    void Pass() const;
    // For all who wait and all who come.
    void Open() const;
    // Each waits up to 10 seconds.
    bool WaitForArrivals(int count) const;
    bool WaitForPassages(int count) const;
    int Arrivals() const;
    int Passages() const;
    // Of those who have come, in order.
    std::vector<std::thread::id> Threads() const;

  private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace qxtest
