/** The package "StationRules" of the station's settings. */
public final class StationRules {
    /** A validator refuses by throwing. */
    public static String checkCallSign(String key, String value) {
        if (!value.matches("[A-Z]{4}")) {
            throw new IllegalArgumentException(key + " has to be four capital letters");
        }
        return null;
    }

    /** A runtime default returns the value. */
    public static String defaultCallSign(String key, String value) {
        return "WQBX";
    }
}
