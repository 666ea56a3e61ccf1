// What the application is measured against: starts through the C++ runtime and does nothing.
int main() {
    return 0;
}
