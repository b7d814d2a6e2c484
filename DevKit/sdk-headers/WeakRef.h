#pragma once

template <class T>
class WeakRef;
