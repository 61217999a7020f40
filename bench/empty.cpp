// SPDX-License-Identifier: Apache-2.0
// A C++ program that does nothing: what starting and ending one costs.
int main() {
  return 0;
}
