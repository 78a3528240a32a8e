#pragma once

template <class T>
class SimpleSingleton {
public:
    static T& Instance()
    {
        static T instance;
        return instance;
    }
};
