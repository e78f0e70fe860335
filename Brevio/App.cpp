namespace Brevio {}
