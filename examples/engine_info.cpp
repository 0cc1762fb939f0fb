#include <iostream>
int main() {
  std::cout << "cogent\n";
  return 0;
}
