#include <QtTest/QtTest>
int main() { return 0; }
