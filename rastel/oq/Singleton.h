// The lazy singleton that holds a matrix of functions.
//
//     auto* matrix = oq::Singleton<rastel::impl::BasicOps_FnMtx, (DestructorType)1>::Instance();
#pragma once

#include <boost/shared_ptr.hpp>

/// When a singleton's object goes.
enum DestructorType {
    DESTROY_AT_EXIT = 1,
};

namespace oq
{

/// The one T of the process, made at the first call of Instance().
///
/// There is no lock: static initialisers, which run on one thread, make the first call; later ones only read.
template <class T, DestructorType when>
class Singleton
{
public:
    static T* Instance()
    {
        if (m_pInstance == nullptr) {
            m_pInstance = new T;
            m_spInstance.reset(m_pInstance);
        }
        return m_pInstance;
    }

    static T* m_pInstance;
    static boost::shared_ptr<T> m_spInstance;
};

template <class T, DestructorType when>
T* Singleton<T, when>::m_pInstance = nullptr;
template <class T, DestructorType when>
boost::shared_ptr<T> Singleton<T, when>::m_spInstance;

} // namespace oq
