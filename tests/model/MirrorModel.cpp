#include "model/MirrorModel.h"

#include "model/DirectoryModel.h"

namespace Model {

int MirrorModel::create(int activity, std::array<int, 2> const& output, std::array<int, 2> const& input) {
  int const number = state_.nextReactor++;
  State::Mirror& mirror = state_.mirrors[number];
  mirror.activity = activity;
  mirror.output = output;
  for (Half const half : {configHalf, statusHalf}) {
    if (input[at(half)] == none) continue;
    mirror.input[at(half)] = newInput(state_, mirror, input[at(half)]);
    // A mirror listens from the start, whatever its reactor's switch.
    mirror.input[at(half)].on = true;
  }
  mirrorAll(number, configHalf);
  mirrorAll(number, statusHalf);
  switchIs(mirror, true);
  return number;
}

void MirrorModel::mirror(int number, Half half, int interface) {
  State::Mirror const& mirror = state_.mirrors.at(number);
  int const in = mirror.input[at(half)].watched();
  int const out = mirror.output[at(half)];
  if (in == none || out == none) return;
  DirectoryModel(state_).set(half, out, interface, state_.directories[at(half)].at(in)[at(interface)]);
}

// First what the input has, then what only the output has: with mirrors in a circle the order shows.
void MirrorModel::mirrorAll(int number, Half half) {
  State::Mirror const& mirror = state_.mirrors.at(number);
  int const in = mirror.input[at(half)].watched();
  int const out = mirror.output[at(half)];
  if (in == none || out == none) return;
  State::Directory const& from = state_.directories[at(half)].at(in);
  for (int const interface : state_.interfaceOrder)
    if (int const entity = from[at(interface)]; entity != none)
      DirectoryModel(state_).set(half, out, interface, entity);
  for (int const interface : state_.interfaceOrder)
    if (from[at(interface)] == none) DirectoryModel(state_).del(half, out, interface);
}

void MirrorModel::inputIs(int number, Half half, int directory) {
  State::Mirror& mirror = state_.mirrors.at(number);
  Input& input = mirror.input[at(half)];
  if (input.watched() == directory) return;
  if (directory == none) {
    input = Input();
    return;
  }
  if (input.present) {
    rebind(state_, input, directory);
    mirrorAll(number, half);
  } else {
    input = newInput(state_, mirror, directory);
    input.on = true;
  }
  input.zombieIs(mirror.zombie);
}

}  // namespace Model
