#pragma once
// Smart pointers that cast a node to the interface they stand for. They own nothing.

#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/ICommand.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMap.h>
#include <GenApi/IPort.h>
#include <GenApi/IRegister.h>
#include <GenApi/ISelector.h>
#include <GenApi/IString.h>

namespace GenApi
{
    //! Pointer to interface T, assigned from a B* by dynamic cast
    template <class T, class B = IBase>
    class CPointer
    {
    public:
        CPointer() : m_pT(nullptr) {}
        CPointer(B* pB) : m_pT(dynamic_cast<T*>(pB)) {}
        CPointer(const CPointer& other) = default;
        template <class T2, class B2>
        CPointer(const CPointer<T2, B2>& other) : m_pT(dynamic_cast<T*>(other.GetPtr()))
        {
        }
        virtual ~CPointer() {}

        CPointer& operator=(const CPointer& other) = default;
        CPointer& operator=(B* pB)
        {
            m_pT = dynamic_cast<T*>(pB);
            return *this;
        }
        template <class T2, class B2>
        CPointer& operator=(const CPointer<T2, B2>& other)
        {
            m_pT = dynamic_cast<T*>(other.GetPtr());
            return *this;
        }

        //! The pointer; a null one throws
        operator T*() const
        {
            if (!m_pT)
                throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
            return m_pT;
        }
        T& operator*() const
        {
            if (!m_pT)
                throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
            return *m_pT;
        }
        T& operator()() const { return **this; }
        T* operator->() const
        {
            if (!m_pT)
                throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
            return m_pT;
        }

        bool IsValid() const { return m_pT != nullptr; }
        explicit operator bool() const { return m_pT != nullptr; }
        //! The raw pointer, null allowed (never throws)
        T* GetPtr() const { return m_pT; }
        void Release() { m_pT = nullptr; }

        template <class T2, class B2>
        bool operator==(const CPointer<T2, B2>& other) const
        {
            return dynamic_cast<const void*>(m_pT) == dynamic_cast<const void*>(other.GetPtr());
        }
        bool operator==(const T* pT) const { return m_pT == pT; }
        bool operator!=(const T* pT) const { return m_pT != pT; }

    protected:
        T* m_pT;
    };

    //! Access helpers on smart pointers: an empty pointer is neither readable nor writable
    template <class T, class B>
    bool IsReadable(const CPointer<T, B>& p)
    {
        return p.IsValid() && IsReadable(p->GetAccessMode());
    }
    template <class T, class B>
    bool IsWritable(const CPointer<T, B>& p)
    {
        return p.IsValid() && IsWritable(p->GetAccessMode());
    }
    template <class T, class B>
    bool IsAvailable(const CPointer<T, B>& p)
    {
        return p.IsValid() && IsAvailable(p->GetAccessMode());
    }
    template <class T, class B>
    bool IsImplemented(const CPointer<T, B>& p)
    {
        return p.IsValid() && IsImplemented(p->GetAccessMode());
    }

    typedef CPointer<IBase> CBasePtr;
    typedef CPointer<INode> CNodePtr;
    typedef CPointer<IValue> CValuePtr;
    typedef CPointer<ICategory> CCategoryPtr;
    typedef CPointer<IBoolean> CBooleanPtr;
    typedef CPointer<IInteger> CIntegerPtr;
    typedef CPointer<IString> CStringPtr;
    typedef CPointer<IRegister> CRegisterPtr;
    typedef CPointer<IEnumeration> CEnumerationPtr;
    typedef CPointer<IEnumEntry> CEnumEntryPtr;
    typedef CPointer<IPort> CPortPtr;
    typedef CPointer<IFloat> CFloatPtr;
    typedef CPointer<ICommand> CCommandPtr;
    typedef CPointer<ISelector> CSelectorPtr;
    typedef CPointer<INodeMap, INodeMap> CNodeMapPtr;
    typedef CPointer<IDeviceInfo, INodeMap> CDeviceInfoPtr;
}
